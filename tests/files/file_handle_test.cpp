// FileHandle: messages, nested typed files, names and the file-system commands, on machines of both styles.
#include <gtest/gtest.h>
#include <random>

#include "base/errors.h"
#include "base/text.h"
#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

using namespace std::string_literals;
using Style = MemoryMachine::Style;
using Rows = std::initializer_list<std::pair<std::string, std::string>>;

class FileHandleTest : public testing::TestWithParam<Style> {
 protected:
  bool windows() const { return GetParam() == Style::windows; }

  /// "/desk/a" in the machine's own form.
  std::string own(std::string path) const {
    if (!windows()) return path;
    replace_all(path, "/", "\\");
    return path.starts_with('\\') ? "C:" + path : path;
  }

  void add(const std::string& path, std::string_view bytes = "x") { machine.add_file(own(path), bytes); }
  std::string content(const std::string& path) const { return machine.bytes(own(path)); }

  std::string open(std::string name, std::string mode, bool confirm = false) {
    return files.OpenFile(name, mode, confirm);
  }

  /// A command of Dos, with its report; entries end in "~" instead of NUL.
  std::string dos(std::string_view command, std::string argument = "") {
    std::string report = files.Dos(command, argument);
    for (char& c : report) c = c == '\0' ? '~' : c;
    return report;
  }

  Session session{GetParam()};
  MemoryMachine& machine = session.machine;
  MemoryUser& user = machine.user();
  FileHandle& files = session.shared->file_handle;
};

std::string style_name(const testing::TestParamInfo<Style>& machine) {
  return machine.param == Style::posix ? "posix" : "windows";
}

INSTANTIATE_TEST_SUITE_P(Machines, FileHandleTest, testing::Values(Style::posix, Style::windows), style_name);

// ---- messages ----

TEST_P(FileHandleTest, LogMarksTheNestingAndCountsTheLevelAbove) {
  add("/desk/a.txt", "1\r\n2");
  add("/desk/b.txt", "1\r\n2\r\n3");
  files.echo("");
  files.echo(" ");
  files.echo("ab", true);
  files.echo("x", false, 3);
  open("a.txt", "input");
  files.echo("one");
  open("b.txt", "input");
  files.echo("two", true, 1);
  files.getdata("line");
  files.getdata("line");
  for (int i = 0; i < 3; ++i) files.closefile();
  EXPECT_EQ(session.log(),
            "Logging started2026-11-15 16:01:00\r\n\r\n"
            " \r\nab\r\n/-\r\n   - x\r\n"
            "#PROCESS: a.txt F:2 for input\r\n/----------------------------\r\n"
            "|one\r\n"
            "|#PROCESS: b.txt F:3 for input\r\n|/----------------------------\r\n"
            "|| - two\r\n||/--\r\n"
            "||\r\n|\\- Processed 0 Lines\r\n| \r\n"
            "|\r\n\\- Processed 2 Lines\r\n \r\n");
  const std::vector<std::string>& shown = session.console.lines;
  EXPECT_EQ(shown[0] + shown[1] + shown[2] + shown[3], " ab-x");
}

TEST_P(FileHandleTest, ConsoleIsARollingView) {
  const std::string text = std::string(2000, 'a') + std::string(8000, 'b');
  session.console.text(text);
  files.echo("x");
  EXPECT_EQ(session.console.text(), text + "\r\nx");
  session.console.text("a" + text);
  files.echo("x");
  EXPECT_EQ(session.console.text(), std::string(8000, 'b') + "\r\nx");
  session.console.Visible(false);
  files.echo("hidden");
  files.cls();
  EXPECT_EQ(session.console.text(), "");
  EXPECT_TRUE(session.log().ends_with("hidden\r\n"));
  machine.disk_full_after(0);
  session.console.Visible(true);
  files.echo("full");
  EXPECT_NO_THROW(files.flush_output());
  EXPECT_EQ(session.console.text(), "\r\nfull");
}

// ---- typed access ----

TEST_P(FileHandleTest, ReadsAndWritesFieldsByType) {
  struct Case {
    std::string_view type;
    FieldValue value;
    std::string bytes;
  };
  for (const Case& c : std::initializer_list<Case>{{"byte", 255.0, "\xFF"},
                                                   {"CHAR", 2.0, "\x02"},
                                                   {"int", 32767.0, "\xFF\x7F"},
                                                   {"Integer", -32768.0, "\0\x80"s},
                                                   {"word", -2.0, "\xFE\xFF"},
                                                   {"long", -2147483648.0, "\0\0\0\x80"s},
                                                   {"double", 1.0, "\1\0\0\0"s},
                                                   {"string", "ABC", "\x08\0\x03\0ABC"s},
                                                   {"block:3", "x\0z"s, "x\0z"s},
                                                   {"line", "a b", "a b\r\n"}}) {
    SCOPED_TRACE(c.type);
    machine.files().add_file(own("/desk/f.bin"), "");
    open("f.bin", "read");
    files.putdata(c.type, c.value);
    EXPECT_EQ(files.lineno(), 0);
    files.SeekData(0);
    EXPECT_EQ(files.getdata(c.type), c.value);
    EXPECT_EQ(files.lineno(), 1);
    EXPECT_TRUE(files.ENDOF());
    files.closefile();
    EXPECT_EQ(content("/desk/f.bin"), c.bytes);
  }
}

TEST_P(FileHandleTest, RefusesWhatAFieldCannotHold) {
  add("/desk/f.bin", "");
  open("f.bin", "read");
  const auto put = [&](std::string_view type, const FieldValue& value) {
    return error_of([&] { files.putdata(type, value); });
  };
  const std::string most(32767, 'x');
  EXPECT_EQ(put("byte", 256.0) + put("byte", -1.0) + put("int", 32768.0) + put("long", 2147483648.0), 4 * 6);
  EXPECT_EQ(put("string", most + "x") + put("block", most + "x"), 2 * 6);
  EXPECT_EQ(put("byte", "x"), 13);
  EXPECT_EQ(put("megablock", "x") + put("value", "x") + put("nonsense", "x"), 0);
  EXPECT_EQ(files.fLen(), 0);
  EXPECT_EQ(put("block", most), 0);
  EXPECT_EQ(files.fLen(), 32767);
}

TEST_P(FileHandleTest, ReadsBeyondTheEndAsZeros) {
  add("/desk/f.bin", "\x05\x01\x02");
  open("f.bin", "read");
  files.SeekData(1);
  EXPECT_EQ(files.getdata("long"), FieldValue(513.0));
  for (const std::string_view type : {"block", "block:0", "block:x"}) {
    files.SeekData(1);
    EXPECT_EQ(files.getdata(type), FieldValue("\x01\x02" + std::string(998, '\0'))) << type;
  }
  files.SeekData(1);
  EXPECT_EQ(files.getdata("megablock"), FieldValue(""));
  EXPECT_EQ(files.getdata("nonsense"), FieldValue(""));
  EXPECT_EQ(files.fPos(), 1);
  EXPECT_EQ(files.lineno(), 6) << "every call counts";
  files.SeekData(-16);
  EXPECT_EQ(session.console.lines.back(), "Invalid Offsett 0xFFFFFFF0");
  EXPECT_EQ(error_of([&] { files.SeekData(2147483647); }), 6);
  EXPECT_EQ(files.fPos(), 1);
  EXPECT_FALSE(files.ENDOF());
  files.SeekData(3);
  EXPECT_TRUE(files.ENDOF());
  EXPECT_EQ(error_of([&] { files.getdata("line"); }), 62);
  files.lineno(32767);
  EXPECT_EQ(error_of([&] { files.getdata("megablock"); }), 6);
}

TEST_P(FileHandleTest, ReadsLinesOfEveryKindAndFreeFields) {
  add("/desk/lines.txt", "a\r\nb\nc\rd\r\r\n\n e ");
  open("lines.txt", "input");
  std::string all;
  while (!files.ENDOF()) all += std::get<std::string>(files.getdata("line")) + "|";
  EXPECT_EQ(all, "a|b|c|d||| e |");
  EXPECT_EQ(files.lineno(), 7);
  add("/desk/fields.txt", "  12, two words ,\"a,b\" \r\n-1.5,,last");
  open("fields.txt", "input");
  for (const FieldValue& field : {FieldValue(12.0), FieldValue("two words "), FieldValue("a,b"), FieldValue(-1.5),
                                  FieldValue(""), FieldValue("last")}) {
    EXPECT_EQ(files.getdata("value"), field);
  }
  EXPECT_TRUE(files.ENDOF());
}

// Random seeks, reads and writes, done to a file and to a text, across the borders of what is buffered.
TEST_P(FileHandleTest, PatchesInPlaceAsATextIsPatched) {
  std::string text(70000, 'x');
  add("/desk/f.bin", text);
  machine.short_writes(1000);
  open("f.bin", "read");
  std::mt19937 random(3);
  for (int step = 0; step < 3000; ++step) {
    const std::size_t size = 1 + (random() % 8 == 0 ? random() % 30000 : random() % 8);
    const std::size_t at = random() % text.size();
    if (random() % 4 > 0 || static_cast<std::size_t>(files.fPos()) + size > text.size()) {
      files.SeekData(static_cast<std::int32_t>(at));
    }
    const auto place = static_cast<std::size_t>(files.fPos());
    if (random() % 2 == 0) {
      const std::string bytes(size, static_cast<char>('a' + random() % 26));
      files.putdata("block", bytes);
      text.resize(std::max(text.size(), place + size));
      text.replace(place, size, bytes);
    } else {
      std::string wanted = text.substr(place, size);
      wanted.resize(size);
      ASSERT_EQ(files.getdata("block:" + std::to_string(size)), FieldValue(wanted)) << step;
    }
    ASSERT_EQ(files.fPos(), static_cast<std::int32_t>(place + size)) << step;
    if (random() % 16 > 0) continue;
    ASSERT_EQ(files.fLen(), static_cast<std::int32_t>(text.size())) << step;
  }
  files.closefile();
  EXPECT_EQ(content("/desk/f.bin"), text);
}

// ---- opening ----

TEST_P(FileHandleTest, ReplacesAnExistingFileOnlyWithConsent) {
  add("/desk/old.txt", "old");
  EXPECT_EQ(open("old.txt", "output"), "");
  user.yes_no_answers = {false, true};
  EXPECT_EQ(open("old.txt", "Write", true), "");
  EXPECT_EQ(content("/desk/old.txt"), "old");
  EXPECT_EQ(files.level(), 1);
  EXPECT_EQ(open("old.txt", "old:output", true), "old.txt");
  EXPECT_EQ(content("/desk/old.txt"), "old") << "until the new one is whole";
  files.closefile();
  EXPECT_EQ(content("/desk/old.txt"), "");
  ASSERT_EQ(user.boxes.size(), 2U);
  EXPECT_EQ(user.boxes[1].title + "/" + user.boxes[1].text, "Delete File/File Exists. Delete?");

  std::string name = "new.bin";
  std::string mode = "OLD:Write";
  EXPECT_EQ(files.OpenFile(name, mode), "new.bin");
  EXPECT_EQ(mode, "Write");
  const std::vector<std::string>& shown = session.console.lines;
  EXPECT_EQ(shown[shown.size() - 2], "#PROCESS: new.bin F:2 for Write");
  EXPECT_EQ(shown.back(), std::string(30, '-'));
}

// What is written with consent is there whole under its name, or not at all.
TEST_P(FileHandleTest, OutputIsWholeOrAbsent) {
  const std::string most(32767, 'n');
  for (const bool replaces : {false, true}) {
    // What happens between opening and the end, and the error of closefile() or of what stands for it.
    struct Case {
      std::string what;
      std::function<void()> action;
      int error;
    };
    const auto write = [&] { files.putdata("block", "new"); };
    for (const Case& c : std::initializer_list<Case>{{"closed",
                                                      [&] {
                                                        write();
                                                        files.closefile();
                                                      },
                                                      0},
                                                     {"closed from elsewhere",
                                                      [&] {
                                                        write();
                                                        dos("cd", own("/tidewright"));
                                                        files.closefile();
                                                      },
                                                      0},
                                                     {"ended",
                                                      [&] {
                                                        write();
                                                        files.close_all();
                                                      },
                                                      0},
                                                     {"disk full",
                                                      [&] {
                                                        write();
                                                        machine.disk_full_after(2);
                                                        files.closefile();
                                                      },
                                                      61},
                                                     {"no replacing",
                                                      [&] {
                                                        write();
                                                        machine.deny(own("/desk/out/a.buf"));
                                                        files.closefile();
                                                      },
                                                      70},
                                                     {"lost before",
                                                      [&] {
                                                        for (int i = 0; i < 2; ++i) files.putdata("block", most);
                                                        machine.disk_full_after(2);
                                                        EXPECT_EQ(error_of([&] { files.fLen(); }), 61);
                                                        machine.disk_full_after(std::nullopt);
                                                        write();
                                                        files.closefile();
                                                      },
                                                      57}}) {
      SCOPED_TRACE(c.what + (replaces ? ", replacing" : ""));
      dos("cd", own("/desk"));
      machine.add_folder(own("/desk/out"));
      if (machine.exists(own("/desk/out/a.buf"))) machine.files().remove_file(own("/desk/out/a.buf"));
      add("/desk/out/a.buf.part", "someone's");
      if (replaces) add("/desk/out/a.buf", "old");
      user.yes_no_answers = {true};
      const std::string name = own("out/a.buf");
      EXPECT_EQ(open(name, "write", true), name);
      EXPECT_EQ(files.data_file().name(), name);
      EXPECT_EQ(error_of([&] { open(own("/desk/out/a.buf"), replaces ? "read" : "write"); }), 55);
      EXPECT_EQ(machine.exists(own("/desk/out/a.buf")), replaces);
      std::string told;
      int error = 0;
      try {
        c.action();
      } catch (const RuntimeError& raised) {
        error = static_cast<int>(raised.number);
        told = raised.description;
      }
      EXPECT_EQ(error, c.error) << told;
      EXPECT_EQ(told.find("part"), std::string::npos) << told;
      EXPECT_EQ(files.level(), 1);
      machine.disk_full_after(std::nullopt);
      machine.deny(own("/desk/out/a.buf"), false);
      const std::string wanted = c.what.starts_with("closed") ? "new" : replaces ? "old" : "";
      if (wanted.empty()) {
        EXPECT_FALSE(machine.exists(own("/desk/out/a.buf")));
      } else {
        EXPECT_EQ(content("/desk/out/a.buf"), wanted);
      }
      EXPECT_EQ(content("/desk/out/a.buf.part"), "someone's");
      EXPECT_FALSE(machine.exists(own("/desk/out/a.buf.part2")));
    }
  }
  user.yes_no_answers = {true};
  open(own("out/a.buf"), "output", true);
  EXPECT_TRUE(machine.exists(own("/desk/out/a.buf.part2")));
  session.shared.reset();
  EXPECT_FALSE(machine.exists(own("/desk/out/a.buf.part2"))) << "the end of the session";
}

TEST_P(FileHandleTest, RefusesAtOnceWhatCannotBeReplaced) {
  add("/desk/sub/a.txt");
  add("/desk/open.txt");
  open("open.txt", "input");
  user.yes_no_answers = {true};
  for (const auto& [name, wanted] : Rows{{"open.txt", "error 55"},
                                         {own("/desk/sub"), "error 75"},
                                         {own("new/"), "error 75"},
                                         {own("none/a.txt"), windows() ? "error 76" : "error 53"}}) {
    EXPECT_EQ(outcome([&, &name = name] { return open(name, "output", true); }), wanted) << name;
  }
  EXPECT_EQ(files.level(), 2);
  EXPECT_EQ(machine.files().list(own("/desk/*"), kEveryAttribute).size(), 2U);
}

TEST_P(FileHandleTest, OpensNothingWithoutAFile) {
  EXPECT_EQ(open("none.txt", "read"), "");
  EXPECT_EQ(open("", "input"), "");
  EXPECT_EQ(open("", "write"), "");
  EXPECT_EQ(user.boxes.at(0).text, "File Not Found or user cancel");
  EXPECT_EQ(user.boxes.at(0).kind, MemoryBox::Kind::message);
  EXPECT_EQ(user.boxes.at(1).title, "Open file ....");
  EXPECT_EQ(user.boxes.at(2).title, "Save file ....");
  EXPECT_EQ(user.boxes.at(2).kind, MemoryBox::Kind::save_file);
  add("/desk/a.txt", "line");
  machine.deny(own("/desk/a.txt"));
  EXPECT_EQ(error_of([&] { open("a.txt", "input"); }), 70);
  machine.deny(own("/desk/a.txt"), false);
  EXPECT_EQ(files.level(), 1);
  user.file_answers = {"a.txt"};
  EXPECT_EQ(open("", "input"), "a.txt");
  EXPECT_EQ(error_of([&] { open("a.txt", "read"); }), 55);
  EXPECT_EQ(files.level(), 2);
  EXPECT_EQ(files.getdata("line"), FieldValue("line"));
  EXPECT_EQ(open("a.txt", "weird"), "False");
  EXPECT_EQ(files.level(), 3);
}

TEST_P(FileHandleTest, NestsFifteenDataFiles) {
  add("/desk/a.txt");
  for (int level = 2; level <= 16; ++level) open("a.txt", "input");
  EXPECT_EQ(error_of([&] { open("a.txt", "input"); }), 9);
  EXPECT_EQ(files.level(), 16);
  EXPECT_EQ(error_of([&] { files.closefile(); }), 9);
  files.close_all();
  EXPECT_EQ(files.level(), 1);
  EXPECT_EQ(open("a.txt", "read"), "a.txt");
}

TEST_P(FileHandleTest, FindsNamesAsTheyAreMeant) {
  add("/desk/Sub/Data.TXT");
  add("/desk/one.cfg");
  add("/tidewright/base/more.psh");
  const std::string shipped = own("/tidewright/");
  for (const auto& [name, found] : Rows{{own("Sub/data.txt"), own("Sub/Data.TXT")},
                                        {"sub\\DATA.txt", "sub\\Data.TXT"},
                                        {"sub/data.txt", "sub/Data.TXT"},
                                        {own("/desk/SUB/*.txt"), own("/desk/SUB/Data.TXT")},
                                        {"o?e.*", "one.cfg"},
                                        {"Base\\More.psh", shipped + "Base\\more.psh"},
                                        {"Sub", ""},
                                        {own("/base/more.psh"), ""}}) {
    EXPECT_EQ(open(name, "input"), found) << name;
    files.close_all();
  }
}

// ---- names ----

TEST_P(FileHandleTest, TakesTheCurrentFileApart) {
  add("/desk/sub.d/x");
  EXPECT_EQ(files.filename("fullpath") + files.filename("FULLNAME") + files.filename("name"), "");
  const std::string root = own("/desk/");
  const std::string sub = own("/desk/sub.d/");
  // What is written, and "full path|name|extension" after it.
  for (const auto& [text, wanted] : Rows{{"game.bin", root + "game.bin|game|bin"},
                                         {own("/desk/sub.d/a.b.bin"), sub + "a.b.bin|a.b|bin"},
                                         {own("sub.d/game.bin"), sub + "game.bin|game|bin"},
                                         {own("sub.d/game"), sub + "gam.|gam|"},
                                         {"game.", root + "game.|game|"},
                                         {".bin", "||bin"},
                                         {own("none/a.bin"), root + "a.bin|a|bin"},
                                         {own("/desk"), "||old"}}) {
    files.filename("path", own("/desk"));
    files.filename("ext", "old");
    files.filename("FullPath", text);
    EXPECT_EQ(files.filename("fullname") + "|" + files.filename("file") + "|" + files.filename("extension"), wanted);
    EXPECT_EQ(files.filename("dir") + own("/").back(), text.find("sub") == std::string::npos ? root : sub);
  }
  files.filename("fullpath", "game.bin");
  files.filename("EXT", "psc");
  files.filename("filename", "other");
  files.filename("nonsense", "x");
  EXPECT_EQ(files.filename("fullpath"), root + "other.psc");
  EXPECT_EQ(files.filename("nonsense"), "");
}

TEST_P(FileHandleTest, ShrinksQuotedNames) {
  add("/desk/my file.bin");
  add("/desk/sub/other file.bin");
  const std::string shrunk = windows() ? "MYFILE~1.BIN" : "my%20file.bin";
  for (const auto& [text, wanted] : Rows{{"file \"my file.bin\"", "file " + shrunk},
                                         {"x \"my file.bin\" \"MY*.bin\" 3", "x " + shrunk + " " + shrunk + " 3"},
                                         {"x \"" + own("/desk/my file.bin") + "\"", "x " + shrunk},
                                         {"x \"no file.bin\" 3", "x  3"},
                                         {"x \"my file.bin", "x \"my file.bin"}}) {
    std::string shrinking = text;
    EXPECT_EQ(files.ShrinkName(shrinking), wanted == "x  3");
    EXPECT_EQ(shrinking, wanted);
  }
  EXPECT_NE(session.console.lines.at(0).find("no file.bin"), std::string::npos);
  EXPECT_EQ(files.shortenname("my file.bin"), lowered(shrunk));
  EXPECT_EQ(files.shortenname("other file.bin"), "");
}

// Every one of these stands beside the others, so a name that is turned back to a neighbour's is found out.
TEST_P(FileHandleTest, QuotedNamesReachTheirFile) {
  const std::string names[] = {"my file.psc",     "my%20file.psc", "My Other File.psc", "a#1 b.psc", "a 0x1.psc",
                               "two  blanks.psc", "50%41 z.psc",   "x &h1 y.psc",       "plain.psc"};
  std::string all;
  for (std::size_t i = 0; i < std::size(names); ++i) add("/desk/" + names[i], cat({"=<", i, ">"}));
  for (std::size_t i = 0; i < std::size(names); ++i) {
    session.run("#include \"" + names[i] + "\"");
    all += cat({"<", i, ">"});
    EXPECT_EQ(session.bytes(0), all) << names[i];
  }
}

// ---- the file-system commands ----

TEST_P(FileHandleTest, ListsFolders) {
  add("/desk/b b.txt");
  add("/desk/sub/c.txt");
  add("/desk/sub/b b.txt");
  const std::string shrunk = windows() ? "bb~1.txt" : "b%20b.txt";
  std::string pattern;
  std::string report = files.Dos("DIR", pattern);
  EXPECT_EQ(report, ">>" + own("/desk") + "\r\nb b.txt\t" + shrunk + "\0sub\tsub\0"s);
  EXPECT_EQ(pattern, own("/desk/*.*"));
  EXPECT_EQ(dos("dir", own("sub/*.txt")), ">>" + own("/desk") + "\r\nb b.txt\t" + shrunk + "~c.txt\t~")
      << "short forms are those of the current folder";
  EXPECT_EQ(dos("dir", "none"), ">>" + own("/desk") + "\r\n");
}

TEST_P(FileHandleTest, CarriesOutFileSystemCommands) {
  const std::string refused = "Invalid path or filename";
  for (const char* path : {"a.txt", "b.txt", "sub/a.txt", "sub/c.txt", "locked.one"}) add("/desk/"s + path);
  machine.add_folder(own("/desk/empty"));
  machine.add_folder(own("/desk/outer/inner"));
  machine.deny(own("/desk/locked.one"));
  struct Case {
    std::string command, argument, report, gone;
  };
  for (const Case& c :
       std::initializer_list<Case>{{"mkdir", "new", "", "new"},
                                   {"mkdir", "sub", refused, ""},
                                   {"mkdir", "a.txt", refused, ""},
                                   {"rmdir", "sub", "", ""},
                                   {"RMDIR", "empty", "", "empty"},
                                   {"rmdir", "outer", refused, ""},
                                   {"delete", "", "", ""},
                                   {"delete", own("sub/a*"), "Deleted a.txt\r\n", "a.txt"},
                                   {"delete", "*.one", refused, ""},
                                   {"del", "b.txt", "", ""},
                                   {"cd", "none", refused, ""},
                                   {"cd", "sub", own("/desk/sub"), ""},
                                   {"Delete", "*.txt", "Deleted a.txt\r\nDeleted c.txt\r\n", "sub/a.txt"},
                                   {"ChDir", "..", own("/desk"), ""}}) {
    EXPECT_EQ(dos(c.command, c.argument), c.report) << c.command << " " << c.argument;
    EXPECT_TRUE(c.gone.empty() || !machine.exists(own("/desk/" + c.gone))) << c.command;
  }
  for (const char* kept : {"b.txt", "sub", "outer", "locked.one"}) EXPECT_TRUE(machine.exists(own("/desk/"s + kept)));
  EXPECT_EQ(dos("shell", "b.txt"), "");
  EXPECT_EQ(machine.desktop().opened, std::vector<std::string>{"b.txt"});
  if (!windows()) return;
  machine.add_folder("D:\\data");
  EXPECT_EQ(dos("cd", "d:\\data"), "D:\\data");
  EXPECT_EQ(dos("cd", "z:\\data"), refused);
  EXPECT_EQ(dos("cd", "c:"), "C:\\desk");
}

}  // namespace
}  // namespace tidewright
