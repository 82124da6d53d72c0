// The machines behind platform/host.h. What they share is asked of all of them: the real one, in a fresh
// folder, and the memory machine in both styles, so that a test that passes on the memory machine means
// something on a real one.
#include "tests/platform/hosts.h"

#include <initializer_list>
#include <tuple>

#include "platform/wildcard.h"

namespace tidewright {
namespace {

std::string kind_name(const testing::TestParamInfo<Kind>& info) {
  return info.param == Kind::real ? "real" : info.param == Kind::posix ? "posix" : "windows";
}

INSTANTIATE_TEST_SUITE_P(Hosts, EveryMachine, testing::Values(Kind::real, Kind::posix, Kind::windows), kind_name);

TEST_P(EveryMachine, ReadsAndWritesAtThePosition) {
  const std::unique_ptr<File> file = files().open("a.bin", Access::create);
  EXPECT_EQ(file->write("hello"), 5U);
  EXPECT_EQ(content(files(), "a.bin"), "hello") << "what is written is there at once, for others too";
  file->seek(2);
  write_all(*file, "XY");
  EXPECT_EQ(read_all(*file), "o");
  file->seek(7);
  EXPECT_EQ(read_all(*file), "");
  EXPECT_EQ(file->length(), 5) << "seeking alone does not lengthen";
  write_all(*file, "!");
  EXPECT_EQ(file->length(), 8);
  file->seek(3);
  EXPECT_EQ(error_of([&] { file->seek(-1); }, "a.bin"), 57);
  EXPECT_EQ(read_all(*file), std::string("Yo\0\0!", 5)) << "a refused seek moves nothing";
  file->cut(7);
  EXPECT_EQ(file->length(), 7);
  file->seek(7);
  write_all(*file, "!");
  file->sync();
  files().sync_names("a.bin");
  EXPECT_TRUE(file->lock());
  file->close();
  EXPECT_EQ(error_of([&] { file->length(); }, "a.bin"), 57);

  write_all(*files().open("a.bin", Access::update), "HE");
  EXPECT_EQ(content(files(), "a.bin"), std::string("HEXYo\0\0!", 8));
  EXPECT_EQ(error_of([&] { files().open("a.bin", Access::read)->write("x"); }, "a.bin"), 57);
  put(files(), "a.bin", "s");
  EXPECT_EQ(content(files(), "a.bin"), "s");
}

TEST_P(EveryMachine, RaisesTheErrorOfTheRefusal) {
  files().make_folder("sub");
  files().make_folder("full");
  put(files(), "full/x", "x");
  put(files(), "file", "x");
  Files& f = files();
  const auto open = [&f](Access access) { return [&f, access](const std::string& path) { f.open(path, access); }; };
  const auto change = [&f](const std::string& path) { f.change_folder(path); };
  const auto make = [&f](const std::string& path) { f.make_folder(path); };
  const auto remove = [&f](const std::string& path) { f.remove_folder(path); };
  const auto kill = [&f](const std::string& path) { f.remove_file(path); };
  struct Case {
    std::string what;
    std::function<void(const std::string&)> action;
    std::string path;
    int posix, windows;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"read", open(Access::read), "none", 53, 53},
           {"read", open(Access::read), "none/x", 53, 76},
           {"read", open(Access::read), "file/x", 76, 76},
           {"read", open(Access::read), "file/", 76, 76},
           {"read", open(Access::read), "sub", 75, 75},
           {"read", open(Access::read), std::string("file\0x", 6), 57, 57},
           {"create", open(Access::create), "none/x", 53, 76},
           {"create", open(Access::create), "new/", 75, 75},
           {"create", open(Access::create), "sub", 75, 75},
           {"create", open(Access::create), std::string("cut\0x", 5), 57, 57},
           {"update", open(Access::update), "file/x", 76, 76},
           {"change", change, "none", 76, 76},
           {"change", change, "file", 76, 76},
           {"make", make, "sub", 75, 75},
           {"make", make, "file", 75, 75},
           {"make", make, "none/sub", 76, 76},
           {"remove", remove, "none", 76, 76},
           {"remove", remove, "file", 76, 76},
           {"remove", remove, "full", 75, 75},
           {"kill", kill, "none", 53, 53},
           {"kill", kill, "file/", 76, 76},
           {"kill", kill, "sub", 75, 75},
       }) {
    SCOPED_TRACE(c.what + " " + c.path);
    EXPECT_EQ(error_of([&] { c.action(c.path); }, c.path), windows() ? c.windows : c.posix);
  }
  EXPECT_EQ(names(files().list("*", kDirectory)), "file full sub") << "a refusal leaves nothing behind";
  files().remove_file("full/x");
  files().remove_folder("full");
  EXPECT_EQ(names(files().list("*", kDirectory)), "file sub");
}

TEST_P(EveryMachine, GivesAFileTheNameOfAnother) {
  files().make_folder("sub");
  put(files(), "sub/new", "new");
  put(files(), "old", "an older one");
  files().replace_file("sub/new", "old");
  files().replace_file("old", "sub/Third");
  files().replace_file("sub/Third", "sub/Third");
  EXPECT_EQ(names(files().list("*", kDirectory)) + " " + names(files().list("sub/*", 0)), "sub Third");
  EXPECT_EQ(content(files(), "sub/Third"), "new");
  const std::initializer_list<std::tuple<std::string, int, int>> refused{
      {"sub", 75, 75}, {"none/x", 53, 76}, {"sub/Third/x", 76, 76}};
  for (const auto& [to, posix, windowed] : refused) {
    EXPECT_EQ(error_of([&, &to = to] { files().replace_file("sub/Third", to); }, to), windows() ? windowed : posix)
        << to;
  }
  EXPECT_EQ(error_of([&] { files().replace_file("none", "sub/Third"); }), 53);
  EXPECT_EQ(content(files(), "sub/Third"), "new");
}

TEST_P(EveryMachine, FindsAndLists) {
  files().make_folder("sub");
  for (const std::string name : {"b.bin", "a.bin", "c", "B.txt", "sub/x", "sub/y"}) put(files(), name, "1");
  EXPECT_EQ(files().whole_path("sub/../sub/./x"), files().whole_path("sub/x"));
  EXPECT_NE(files().whole_path("sub/x"), files().whole_path("sub/y"));
  EXPECT_EQ(files().whole_path("none/x"), "none/x");
  struct Find {
    std::string path;
    std::string name;
    int attributes;
  };
  for (const Find& c : std::initializer_list<Find>{{"a.bin", "a.bin", kNormal},
                                                   {"sub", "sub", kDirectory},
                                                   {"sub/", "sub", kDirectory},
                                                   {"sub/../sub/./x", "x", kNormal},
                                                   {"", "", kNormal},
                                                   {"*.bin", "", kNormal},
                                                   {"c/", "", kNormal},
                                                   {"none/x", "", kNormal}}) {
    SCOPED_TRACE(c.path);
    const std::optional<Entry> entry = files().find(c.path);
    EXPECT_EQ(entry ? entry->name : "", c.name);
    EXPECT_EQ(entry ? entry->attributes : kNormal, c.attributes);
  }
  struct List {
    std::string pattern;
    int attributes;
    std::string posix, windows;
  };
  for (const List& c :
       std::initializer_list<List>{{"*.*", kNormal, "B.txt a.bin b.bin c", "a.bin b.bin B.txt c"},
                                   {"*", kDirectory, "B.txt a.bin b.bin c sub", "a.bin b.bin B.txt c sub"},
                                   {"?.B*", kNormal, "a.bin b.bin", "a.bin b.bin"},
                                   {"sub/*", kEveryAttribute, "x y", "x y"},
                                   {"./sub/x", kNormal, "x", "x"},
                                   {"none/*", kEveryAttribute, "", ""},
                                   {"c/*", kEveryAttribute, "", ""}}) {
    SCOPED_TRACE(c.pattern);
    EXPECT_EQ(names(files().list(c.pattern, c.attributes)), windows() ? c.windows : c.posix);
  }
}

TEST_P(EveryMachine, MovesThroughFolders) {
  const std::string start = files().current_folder();
  const std::string sub = start + files().separator() + "sub";
  files().make_folder(sub);
  files().change_folder("sub/");
  EXPECT_EQ(files().current_folder(), sub);
  put(files(), "x", "here");
  files().change_folder("..");
  EXPECT_EQ(content(files(), sub + files().separator() + "x"), "here");
  EXPECT_EQ(files().current_folder(), start);
  const std::string root = windows() ? start.substr(0, 3) : "/";
  const std::string from_here = windows() ? "\\" : "/";
  const std::string of_root = names(files().list(from_here + "*", kEveryAttribute));
  files().change_folder(from_here);
  EXPECT_EQ(files().current_folder(), root);
  EXPECT_EQ(names(files().list("*", kEveryAttribute)), of_root);
  EXPECT_EQ(error_of([&] { files().change_drive('Q'); }), 68);
  EXPECT_EQ(files().current_folder(), root);
}

class PosixMachines : public EveryMachine {};
INSTANTIATE_TEST_SUITE_P(Hosts, PosixMachines, testing::ValuesIn(kinds_of(PathStyle::posix)), kind_name);

TEST_P(PosixMachines, KeepCaseAndBackslashesApart) {
  for (const std::string name : {"a", "A", "sub\\a", ".dot"}) put(files(), name, name);
  for (const std::string name : {"a", "A", "sub\\a", ".dot"}) EXPECT_EQ(content(files(), name), name);
  EXPECT_EQ(names(files().list("*", kNormal)), "A a sub\\a");
  EXPECT_EQ(names(files().list("*", kHidden)), ".dot A a sub\\a");
  EXPECT_EQ(files().find(".dot")->attributes, kHidden);
  EXPECT_EQ(files().short_name("a"), "");
  EXPECT_EQ(error_of([&] { content(files(), "none/../a"); }), 53);
  EXPECT_EQ(error_of([&] { content(files(), "a/../A"); }), 76);

  const std::unique_ptr<File> file = files().open("a", Access::read);
  files().remove_file("a");
  EXPECT_EQ(read_all(*file), "a") << "an open file outlives its name";

  files().make_folder("gone");
  files().change_folder("gone");
  files().remove_folder("../gone");
  EXPECT_EQ(error_of([&] { files().current_folder(); }), 76);
}

class WindowsMachines : public EveryMachine {};
INSTANTIATE_TEST_SUITE_P(Hosts, WindowsMachines, testing::ValuesIn(kinds_of(PathStyle::windows)), kind_name);

TEST_P(WindowsMachines, TakeManyFormsOfOneName) {
  const std::string start = files().current_folder();
  files().make_folder("My Folder");
  put(files(), "My Folder/my game.bin", "game");
  const std::string short_form = files().short_name("My Folder\\my game.bin");
  EXPECT_EQ(short_form.find(' '), std::string::npos) << short_form;
  for (const std::string& path :
       {short_form, std::string("my folder\\MY GAME.BIN"), start + "/MY FOLDER\\.\\my game.bin",
        std::string("none\\..\\My Folder\\my game.bin"), start.substr(2) + "\\My Folder\\my game.bin",
        start.substr(0, 2) + "My Folder\\my game.bin"}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(content(files(), path), "game");
    EXPECT_EQ(files().find(path)->name, "my game.bin");
    EXPECT_EQ(files().whole_path(path), files().whole_path("My Folder/my game.bin"));
    EXPECT_EQ(names(files().list(path, kNormal)), "my game.bin");
  }
  EXPECT_EQ(files().short_name("none"), "");
  put(files(), short_form, "new");
  EXPECT_EQ(names(files().list("My Folder/*", kNormal)), "my game.bin") << "a file keeps the case it was made with";

  const std::unique_ptr<File> file = files().open("My Folder/my game.bin", Access::read);
  put(files(), "other", "x");
  EXPECT_EQ(error_of([&] { files().remove_file("My Folder/my game.bin"); }), 70) << "an open file stays";
  EXPECT_EQ(error_of([&] { files().replace_file("other", "My Folder/my game.bin"); }), 70);
  EXPECT_EQ(content(files(), "My Folder/my game.bin"), "new");
  file->close();
  files().remove_file("my folder/MY GAME.bin");
  files().change_folder("My Folder");
  EXPECT_EQ(error_of([&] { files().remove_folder("../My Folder"); }), 75) << "the current folder stays";
  files().change_folder("..");
  files().remove_folder("My Folder");
}

TEST(WindowsPaths, MeanTheSameFile) {
  MemoryMachine machine(MemoryMachine::Style::windows);
  Files& files = machine.host().files;
  machine.add_file("C:\\My Folder\\my game.bin", "game");
  machine.add_file("D:\\data\\d.bin", "other drive");
  files.change_folder("D:\\data");
  EXPECT_EQ(files.current_folder(), "C:\\desk") << "another drive's folder changes, not the drive";
  struct Case {
    std::string path, content;
  };
  for (const Case& c : std::initializer_list<Case>{{"C:\\My Folder\\my game.bin", "game"},
                                                   {"c:/MY FOLDER/MY GAME.BIN", "game"},
                                                   {"\\my folder\\.\\my game.bin", "game"},
                                                   {"..\\none\\..\\My Folder\\my game.bin", "game"},
                                                   {"C:..\\MYFOLD~1\\MyGame~1.bin", "game"},
                                                   {"D:d.bin", "other drive"},
                                                   {"D:\\DATA\\..\\data\\D.BIN", "other drive"}}) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(content(files, c.path), c.content);
  }
  put(files, "C:/myfold~1/MYGAME~1.BIN", "new");
  EXPECT_EQ(names(files.list("\\My Folder\\*", kNormal)), "my game.bin") << "a file keeps the case it was made with";
  EXPECT_EQ(names(files.list("C:\\My Folder\\mygame~1.bin", kNormal)), "my game.bin");
  EXPECT_EQ(files.find("\\MYFOLD~1")->name, "My Folder");
  EXPECT_EQ(names(files.list("D:*", kNormal)), "d.bin");

  files.change_drive('d');
  EXPECT_EQ(files.current_folder(), "D:\\data");
  EXPECT_EQ(error_of([&] { files.remove_folder("C:\\desk"); }), 75) << "the current folder of C:";
  EXPECT_EQ(error_of([&] { files.change_drive('E'); }), 68);
  EXPECT_EQ(error_of([&] { files.open("E:\\x", Access::create); }, "E:\\x"), 76);
  EXPECT_EQ(error_of([&] { files.change_folder("E:"); }), 76);
  EXPECT_FALSE(files.find("E:x"));
  machine.add_drive('e');
  files.change_drive('E');
  EXPECT_EQ(files.current_folder(), "E:\\");
}

TEST(WindowsPaths, HaveShortForms) {
  MemoryMachine machine(MemoryMachine::Style::windows);
  Files& files = machine.host().files;
  struct Case {
    std::string path, form;
  };
  const std::initializer_list<Case> cases{{"C:\\a folder\\my game.bin", "C:\\AFOLDE~1\\MYGAME~1.BIN"},
                                          {"C:/a folder/my game 2.bin", "C:/AFOLDE~1/MYGAME~2.BIN"},
                                          {"..\\a folder\\readme.txt", "..\\AFOLDE~1\\README.TXT"},
                                          {"D:my game.bin", "D:MYGAME~1.BIN"},
                                          {"a+b.c.html", "A_BC~1.HTM"},
                                          {".profile", "PROFIL~1"},
                                          {"x", "X"}};
  for (const Case& c : cases) machine.add_file(c.path, c.form);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(files.short_name(c.path), c.form);
    EXPECT_EQ(content(files, c.form), c.form) << "the short form leads to the file";
  }
  EXPECT_EQ(files.short_name("none"), "");
  EXPECT_EQ(files.short_name("\\not there\\..\\a folder"), "\\not there\\..\\AFOLDE~1");
  for (int i = 0; i < 11; ++i) machine.add_file("game number " + std::to_string(10 + i), "");
  EXPECT_EQ(files.short_name("game number 20"), "GAMEN~11") << "the counter takes the room that it needs";
}

TEST(MemoryFaults, StandUntilSwitchedOff) {
  MemoryMachine machine(MemoryMachine::Style::posix);
  Files& files = machine.host().files;
  machine.add_file("a", "12345");
  std::unique_ptr<File> file = files.open("a", Access::update);
  machine.short_writes(2);
  EXPECT_EQ(file->write("abc"), 2U);
  machine.disk_full_after(3);
  EXPECT_EQ(file->write("cd"), 2U);
  EXPECT_EQ(files.open("b", Access::create)->write("xy"), 1U) << "the room is that of the whole machine";
  EXPECT_EQ(error_of([&] { file->write("e"); }, "a"), 61);
  machine.short_writes(std::nullopt);
  machine.disk_full_after(std::nullopt);
  EXPECT_EQ(file->write("efgh"), 4U);
  EXPECT_EQ(machine.bytes("/desk/a") + machine.bytes("b"), "abcdefghx");

  machine.fail_reads("a");
  file->seek(0);
  EXPECT_EQ(error_of([&] { read_all(*file); }, "a"), 57);
  EXPECT_EQ(content(files, "b"), "x");
  machine.fail_reads("a", false);
  EXPECT_EQ(read_all(*file), "abcdefgh");

  machine.deny_writing("a");
  EXPECT_EQ(error_of([&] { files.open("a", Access::create); }, "a"), 70);
  EXPECT_EQ(content(files, "a"), "abcdefgh");
  machine.deny_writing("a", false);

  const std::vector<std::function<void()>> actions{
      [&] { files.open("/desk/sub/x", Access::create); }, [&] { files.remove_file("sub/x"); },
      [&] { files.make_folder("sub/y"); }, [&] { files.remove_folder("sub/y"); }, [&] { files.list("sub/*", 0); }};
  machine.add_folder("sub");
  machine.deny("sub");
  for (const auto& action : actions) EXPECT_EQ(error_of(action, "sub"), 70);
  machine.deny("/desk/sub", false);
  for (const auto& action : actions) EXPECT_EQ(error_of(action), kNoError);

  machine.set_attributes("a", kReadOnly);
  EXPECT_EQ(error_of([&] { files.open("a", Access::update); }), 70);
  EXPECT_THROW(machine.bytes("none"), std::logic_error);
  EXPECT_THROW(machine.add_file("a/x", ""), std::logic_error);
}

TEST(MemoryFaults, WindowsProtectsOpenAndReadOnlyFiles) {
  MemoryMachine machine(MemoryMachine::Style::windows);
  Files& files = machine.host().files;
  machine.add_file("a", "x");
  std::unique_ptr<File> file = files.open("A", Access::read);
  EXPECT_EQ(error_of([&] { files.remove_file("a"); }), 70);
  file->close();
  machine.set_attributes("a", kReadOnly | kHidden | kSystem);
  EXPECT_EQ(error_of([&] { files.remove_file("a"); }), 70);
  machine.add_file("b", "");
  EXPECT_EQ(error_of([&] { files.replace_file("b", "a"); }), 70);
  files.remove_file("b");
  EXPECT_EQ(names(files.list("*", kHidden)), "") << "each of the attributes must be asked for";
  EXPECT_EQ(names(files.list("*", kHidden | kSystem)), "a");
  machine.set_attributes("a", kNormal);
  files.remove_file("a");
  EXPECT_FALSE(machine.exists("a"));
}

TEST(MemoryMachine, AnswersFromItsQueues) {
  MemoryMachine machine(MemoryMachine::Style::posix);
  User& user = machine.host().user;
  machine.user().yes_no_answers = {true};
  machine.user().input_answers = {"first", "second"};
  machine.user().file_answers = {"/desk/a"};
  EXPECT_TRUE(user.yes_no_box("sure?", "Title"));
  EXPECT_FALSE(user.yes_no_box("sure?", "Title"));
  EXPECT_EQ(user.input_box("name", "Title"), "first");
  EXPECT_EQ(user.input_box("name", "Title"), "second");
  EXPECT_EQ(user.file_box("Save", true), "/desk/a");
  EXPECT_EQ(user.file_box("Open", false), "");
  ASSERT_EQ(machine.user().boxes.size(), 6U);
  EXPECT_EQ(machine.user().boxes[0].text + machine.user().boxes[0].title, "sure?Title");
  EXPECT_EQ(machine.user().boxes[5].kind, MemoryBox::Kind::open_file);

  std::tm now = machine.host().clock.now();
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %a %j", &now);
  EXPECT_STREQ(text, "2026-11-15 16:01:00 Sun 319");
}

TEST(Wildcard, Matches) {
  struct Case {
    std::string_view pattern, name;
    bool match;
  };
  for (const Case& c : std::initializer_list<Case>{{"*.*", "readme", true},
                                                   {"*.*", "a.b", true},
                                                   {"*", "", true},
                                                   {"", "", true},
                                                   {"", "a", false},
                                                   {"a.BIN", "A.bin", true},
                                                   {"a.bin", "a.bi", false},
                                                   {"a.bi", "a.bin", false},
                                                   {"?.bin", "a.bin", true},
                                                   {"?.bin", ".bin", false},
                                                   {"?", "ab", false},
                                                   {"a?", "a", false},
                                                   {"*.bin", "a.b.bin", true},
                                                   {"*.bin", "a.bin.x", false},
                                                   {"a*b*c", "aXbYbZc", true},
                                                   {"a*b*c", "aXcYb", false},
                                                   {"*ab", "aab", true},
                                                   {"a**", "a", true},
                                                   {"*.", "a", false},
                                                   {"*.*.*", "a.b", false}}) {
    SCOPED_TRACE(std::string(c.pattern) + " " + std::string(c.name));
    EXPECT_EQ(matches(c.pattern, c.name), c.match);
  }
}

}  // namespace
}  // namespace tidewright
