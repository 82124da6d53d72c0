// Directives that make one kind of file of another: which files they read, write and leave alone, and what is as before
// when they are done. A line end of a script is shown as "~".
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

using namespace std::string_literals;
using Style = MemoryMachine::Style;

constexpr const char* kDatabase =
    "#addcmmd walk 5\n#addparm 1\n#addcmmd jump 0x10\n#addparm 3\n#addcmmd stop 2\n#addparm 4\n#addctrl end 0xFE\n#do";
constexpr const char* kScript = "// note\n#org house\nwalk 0x1\njump $shop\n#org shop 1\n=HI\\end\n";
constexpr const char* kDecoded = "// note~~#ORG house 0~walk 0x0001~jump $shop~~#ORG shop 1~=HI\\end~";

class ConversionsTest : public testing::Test {
 protected:
  ConversionsTest() {
    add("base/includes.psh", kDatabase);
    session.run("#boot");
    std::string image(0x20, '\0');
    image.replace(0x10, 4, "\x05\x02\x00\x02"s);
    add("game.bin", image);
  }

  void add(const std::string& name, const std::string& text) { session.machine.add_file("/desk/" + name, text); }
  std::string bytes(const std::string& name) { return session.machine.bytes("/desk/" + name); }
  bool exists(const std::string& name) { return session.machine.exists("/desk/" + name); }
  std::string script(const std::string& name) {
    if (!exists(name)) return "none";
    std::string text = bytes(name);
    replace_all(text, kLineEnd, "~");
    return text;
  }

  /// Makes town.buf of kScript, and blows the buffers.
  void make_buffer_file() {
    add("town.psc", kScript);
    session.run("#encode town.psc");
    session.run("#kableewy");
    session.machine.files().remove_file("/desk/town.psc");
  }

  /// Nothing is open or left half, and the session runs where it ran.
  void expect_settled(const std::string& what) {
    EXPECT_EQ(files.level(), 1) << what;
    EXPECT_EQ(files.filename("path"), "/desk") << what;
    for (const Entry& entry : session.machine.files().list("/desk/*", kEveryAttribute)) {
      EXPECT_EQ(entry.name.find(".part"), std::string::npos) << what;
    }
    EXPECT_EQ(session.run("// on"), " on") << what;
  }

  static int times(std::string_view text, std::string_view part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }

  Session session;
  MemoryUser& user = session.machine.user();
  MemoryDesktop& desktop = session.machine.desktop();
  FileHandle& files = session.shared->file_handle;
  FileBuffer& buffers = session.shared->file_buffer;
};

TEST_F(ConversionsTest, ScriptsBecomeBufferFilesAndScriptsAgain) {
  add("town/main.psc", kScript);
  session.run("#encode town/main.psc");
  EXPECT_EQ(desktop.opened, std::vector<std::string>{"/desk/town/main.buf"});
  EXPECT_EQ(session.bytes(0), "\x05\x01\x00\x10!PTR"s);
  const std::string made = bytes("town/main.buf");
  user.yes_no_answers = {true, true, true};
  for (int i = 0; i < 2; ++i) {
    if (i == 0) session.run("#kableewy");
    EXPECT_EQ(times(session.run("#decode town/main.buf"), "DROPPING SCRIPT"), 1);
    EXPECT_EQ(script("town/main.psc"), kDecoded);
    EXPECT_EQ(buffers.count(1), 1) << "blank buffers keep what is decoded, others are not added to";
  }
  EXPECT_TRUE(desktop.started.empty());
  session.run("#autopop on; #decode town/main.buf");
  EXPECT_EQ(desktop.started, std::vector<std::string>{"notepad.exe /desk/town/main.psc"});
  user.yes_no_answers = {true};
  session.run("#kableewy; #encode town/main.psc");
  EXPECT_EQ(bytes("town/main.buf"), made) << "a decoded script compiles to the same buffer file";
  expect_settled("after all");
}

TEST_F(ConversionsTest, EveryLineOfACommentStaysOne) {
  for (const auto& [comment, lines] : std::initializer_list<std::pair<std::string, std::string>>{
           {"a\r\n b\r\n", "//a~// b~"}, {"a\nb\rstop\r\r\n;c", "//a~//b~//stop~//~//;c~"}, {"", "//NO COMMENT~"}}) {
    session.run("#kableewy; #del c.*");
    buffers.buffer(FileBuffer::kTextBuffer, Slot(comment));
    session.run("#kapoke c.buf; #decode c.buf");
    EXPECT_EQ(script("c.psc"), lines);
  }
}

TEST_F(ConversionsTest, DecodeWritesNothingForWhatIsNoBufferFile) {
  make_buffer_file();
  const std::string whole = bytes("town.buf");
  add("cut.buf", whole.substr(0, whole.size() - 3));
  add("wrong.buf", "\x08\x00\x04\x00Wave"s + whole);
  add("empty.buf", "");
  user.boxes.clear();
  for (const std::string row :
       {"#decode -> ", "#decode town.buf 1 -> ", "#decode \"gone.buf\" -> ",
        "#decode gone.buf -> File Not Found or user cancel", "#decode wrong.buf -> NOT A Tidewright Buffer file!",
        "#decode empty.buf -> NOT A Tidewright Buffer file!", "#decode cut.buf -> error 62"}) {
    const auto [line, box] = cut(row);
    session.run(line);
    const std::string shown = user.boxes.empty() ? "" : user.boxes.back().text;
    EXPECT_EQ(shown.empty(), box.empty()) << line;
    EXPECT_EQ(shown.substr(0, box.size()), box) << line;
    user.boxes.clear();
    for (const std::string name : {"town.psc", "cut.psc", "wrong.psc", "empty.psc"}) EXPECT_FALSE(exists(name)) << line;
    expect_settled(line);
  }
}

TEST_F(ConversionsTest, RawdecodeAsksForWhatIsMissingAndNamesTheScriptByTheOffset) {
  add("sub/game.bin", bytes("game.bin"));
  add("my game.bin", bytes("game.bin"));
  add("plain", bytes("game.bin"));
  add("game.v2.bin", bytes("game.bin"));
  add("long.bin", std::string(0x1A2B0, '\0') + "HI\xFE.");
  const std::string walk = "~#ORG 0x10~walk &h0002~stop~~";
  struct Case {
    std::string line;
    std::deque<std::string> answers;
    std::string name, script;
    std::size_t boxes;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"#rawdecode game.bin 0x10 3", {}, "game10.psc", walk, 0},
           {"#rawdecode game.bin &h10 5", {}, "game10.psc", "~#ORG 0x10~~", 0},
           {"#rawdecode game.bin 16", {"3"}, "game10.psc", walk, 1},
           {"#rawdecode game.bin", {"0x10", "3"}, "game10.psc", walk, 2},
           {"#rawdecode game.bin", {}, "game0.psc", "none", 2},
           {"#rawdecode game.bin 0x10", {}, "game10.psc", "none", 1},
           {"#rawdecode long.bin 0x1A2B0 8", {}, "long1A2B0.psc", "~#ORG 0x1A2B0~=HI\\end~", 0},
           {"#rawdecode sub/game.bin 16 3", {}, "sub/game10.psc", walk, 0},
           {"#rawdecode \"my game.bin\" 16 3", {}, "my game10.psc", walk, 0},
           {"#rawdecode plain 16 3", {}, "plain10.psc", walk, 0},
           {"#rawdecode game.v2.bin 16 3", {}, "game.v210.psc", walk, 0},
           {"#rawdecode game.bin -1 5", {}, "gameFFFFFFFF.psc", "~#ORG 0xFFFFFFFF~~", 0},
           {"#rawdecode game.bin zz 3", {}, "gamezz.psc", "none", 1},
           {"#rawdecode game.bin 3000000000 3", {}, "gameB2D05E00.psc", "none", 1},
           {"#rawdecode game.bin 16 70000", {}, "game10.psc", "none", 1},
           {"#rawdecode gone.bin 16 3", {}, "gone10.psc", "none", 1},
       }) {
    user.input_answers = c.answers;
    session.run("#kableewy; #org mine 2; #01 02; // kept");
    session.run(c.line);
    EXPECT_EQ(script(c.name), c.script) << c.line;
    EXPECT_EQ(user.boxes.size(), c.boxes) << c.line;
    if (user.boxes.size() == 2) {
      EXPECT_EQ(user.boxes[0].title + ": " + user.boxes[0].text, "Insufficient Data: Please Enter Offsett:");
      EXPECT_EQ(user.boxes[1].title + ": " + user.boxes[1].text, "Insufficient Data: Please Enter mode:");
    }
    EXPECT_EQ(session.bytes(2), "\x01\x02") << c.line;
    EXPECT_EQ(session.bytes(16), " kept\r\n") << c.line;
    EXPECT_EQ(buffers.count(16), 0) << c.line;
    user.boxes.clear();
    if (exists(c.name)) session.machine.files().remove_file("/desk/" + c.name);
    expect_settled(c.line);
  }
}

TEST_F(ConversionsTest, AFileThatIsThereIsReplacedWholeOrNotAtAll) {
  make_buffer_file();
  add("main.psc", kScript);
  struct Case {
    std::string line, name, opened;
  };
  for (const Case& c : std::initializer_list<Case>{{"#encode main.psc", "main.buf", "/desk/main.buf"},
                                                   {"#decode town.buf", "town.psc", ""},
                                                   {"#rawdecode game.bin 0x10 3", "game10.psc", ""},
                                                   {"#kapoke old.buf", "old.buf", ""}}) {
    const auto run = [&](bool agreed) {
      add(c.name, "old");
      session.run("#kableewy");
      user.boxes.clear();
      user.yes_no_answers = {agreed};
      desktop.opened.clear();
      return session.run(c.line);
    };
    std::string told = run(false);
    EXPECT_EQ(times(told, " - /desk/" + c.name + " is left as it is"), 1) << told;
    EXPECT_EQ(bytes(c.name), "old");
    EXPECT_TRUE(desktop.opened.empty());
    ASSERT_EQ(user.boxes.size(), 1U);
    EXPECT_EQ(user.boxes[0].title + ": " + user.boxes[0].text, "Delete File: File Exists. Delete?");
    expect_settled(c.line);

    for (const std::size_t room : {0U, 1U, 10U, 30U}) {
      session.machine.disk_full_after(room);
      run(true);
      session.machine.disk_full_after(std::nullopt);
      EXPECT_EQ(user.boxes.back().text.substr(0, 8), "error 61") << c.line << room;
      EXPECT_EQ(bytes(c.name), "old") << c.line << room;
      EXPECT_TRUE(desktop.opened.empty());
      expect_settled(c.line);
    }
    told = run(true);
    const std::string whole = bytes(c.name);
    EXPECT_NE(whole, "old") << c.line;
    EXPECT_EQ(desktop.opened.empty(), c.opened.empty());
    session.machine.short_writes(1);
    run(true);
    session.machine.short_writes(std::nullopt);
    EXPECT_EQ(bytes(c.name), whole) << c.line;
    expect_settled(c.line);
  }
}

TEST_F(ConversionsTest, AnEncodeInsideABuildScriptReturnsToIt) {
  add("build.psc", "#file game.bin\n// build\n#encode sub/one.psc\n// after\n#kapop\n// last");
  add("more.psc", "// wrong");
  add("sub/one.psc", "// one\n#boot\n#codeset more\n#install pack\n#include more.psc\n// end\n#endfile\n// never");
  add("sub/base/includes.psh", cat({"// base\n", kDatabase}));
  add("sub/more/includes.psh", "// code\n#addcmmd extra 7");
  add("sub/pack/install.psc", "// pack");
  add("sub/more.psc", "// more\n#org a.0x2\nwalk 1\nnonsense\nextra");
  session.run("#include build.psc");
  std::string order;
  for (const std::string& line : session.console.lines) {
    if (line.size() > 1 && line[0] == ' ' && line[1] != '-') order += line;
  }
  EXPECT_EQ(order, " build one base base code pack more end after last");
  EXPECT_EQ(bytes("game.bin").substr(0, 8), "\0\0\x05\x01\x00\x07\0\0"s) << "the target is still the one of #file";
  EXPECT_EQ(files.filename("fullpath"), "/desk/game.bin");
  EXPECT_TRUE(exists("sub/one.buf"));
  EXPECT_TRUE(user.boxes.empty());
  expect_settled("after the build");
}

TEST_F(ConversionsTest, AnErrorInsideAnEncodedScriptClosesAll) {
  add("build.psc", "// build\n#encode sub/bad.psc\n#kapow");
  add("sub/bad.psc", "#include inner.psc\n#kapow");
  add("sub/inner.psc", "#org a\nwalk 1\n#org late\n#addcmmd half 9\n#addparm much\n#kapow");
  session.run("#include build.psc");
  ASSERT_EQ(user.boxes.size(), 1U);
  EXPECT_EQ(user.boxes[0].text.substr(0, 88),
            "inner.psc:5, included from sub/bad.psc:1, included from build.psc:2: error 13: Type mism");
  EXPECT_FALSE(exists("sub/bad.buf"));
  EXPECT_EQ(session.bytes(0), "\x05\x01\x00"s);
  EXPECT_EQ(buffers.count(0), 1);
  expect_settled("after the error");
  user.boxes.clear();
  session.run("#encode gone.psc; #encode \"gone.psc\"; #encode");
  EXPECT_EQ(user.boxes.size(), 2U) << "a message, none, a file box";
  EXPECT_TRUE(desktop.opened.empty());
  expect_settled("without a script");
}

TEST_F(ConversionsTest, BufferFilesComeAndGo) {
  session.run("#org House 3; walk 1; #org waits 3; #kapoke sub.buf");
  session.run("#kableewy; #kapeek sub.buf Town");
  EXPECT_EQ(session.bytes(3), "\x05\x01\x00"s);
  EXPECT_TRUE(buffers.has_label("town.house", 3) && buffers.has_label("town.waits", 3));
  EXPECT_NE(session.run("#kapoke").find(" - No file is chosen"), std::string::npos);
  user.file_answers = {"/desk/chosen.buf"};
  session.run("#kapoke");
  EXPECT_TRUE(exists("chosen.buf"));
  const std::size_t boxes = user.boxes.size();
  session.run("#kapeek \"gone.buf\"; #kapoke \"gone.buf\"; #kapeek gone.buf");
  EXPECT_EQ(user.boxes.size(), boxes + 1);
  expect_settled("after all");
}

TEST_F(ConversionsTest, KascriptShowsAndChangesNothing) {
  EXPECT_EQ(session.run("#kascript"), "//");
  session.run("// note");
  session.run("#org house; walk 1; #org text 1");
  const std::string told = session.run("#kascript");
  EXPECT_NE(told.find("\n// note\n \n \n#ORG house 0\nwalk 0x0001"), std::string::npos) << told;
  EXPECT_EQ(session.bytes(16), " note\r\n");
  session.run("=HI");
  EXPECT_EQ(buffers.get_Point("text", 1).mode, 8) << "the label still waited";
  EXPECT_NE(session.run("#kascript 0x10").find("error 5"), std::string::npos) << "no file is set";
  session.run("#file game.bin");
  EXPECT_NE(session.run("#kascript 0x10").find("\n \n#ORG 0x10\nwalk &h0002\nstop"), std::string::npos);
  EXPECT_NE(session.run("#kascript 16 9").find("\n#ORG 0x10\n#move &h5 &h2 &h0 &h2 &h0 &h0 "), std::string::npos);
  EXPECT_NE(session.run("#kascript zz").find("error 13"), std::string::npos);
  EXPECT_EQ(session.bytes(0), "\x05\x01\x00"s);
  EXPECT_EQ(buffers.count(16), 0);
  expect_settled("after all");
}

TEST_F(ConversionsTest, ALabelThatWaitsIsNotLost) {
  make_buffer_file();
  session.run("#org late 2; #decode town.buf; #rawdecode game.bin 0x10 3; walk 7");
  EXPECT_EQ(script("town.psc"), kDecoded);
  EXPECT_EQ(script("game10.psc"), "~#ORG 0x10~walk &h0002~stop~~");
  EXPECT_EQ(session.bytes(2), "\x05\x07\x00"s);
  EXPECT_TRUE(buffers.has_label("late", 2));
}

TEST(ConversionsOnEachMachine, FindsAndMakesNamesWithBlanks) {
  for (const auto& [style, folder] :
       {std::pair<Style, std::string>{Style::posix, "/desk/My Game/"}, {Style::windows, "C:\\desk\\My Game\\"}}) {
    Session session(style);
    session.machine.add_file(folder + "the main.psc", kScript);
    session.machine.add_file(folder + "base set.psh", kDatabase);
    session.run("#cd \"My Game\"; #include \"base set.psh\"");
    session.run("#encode \"the main.psc\"");
    EXPECT_EQ(session.machine.desktop().opened, std::vector<std::string>{folder + "the main.buf"});
    session.machine.user().yes_no_answers = {true};
    session.run("#kableewy; #decode \"the main.buf\"");
    std::string text = session.machine.bytes(folder + "the main.psc");
    replace_all(text, kLineEnd, "~");
    EXPECT_EQ(text, kDecoded);
  }
}

TEST(Conversions, NameTheirFilesAfterTheSourceWhateverItsName) {
  Session session;
  session.machine.add_file("/desk/a%20b.psc", "#org a; #01\n");
  session.run("#encode a%20b.psc");
  EXPECT_TRUE(session.machine.exists("/desk/a%20b.buf"));
  session.machine.add_file("/desk/script.buf", "#org b; #02\n");
  session.machine.user().yes_no_answers = {true};
  session.run("#encode script.buf");
  EXPECT_EQ(session.machine.bytes("/desk/script.buf"), "#org b; #02\n") << "a script is not replaced by what it gives";
}

}  // namespace
}  // namespace tidewright
