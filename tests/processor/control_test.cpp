// The command processor: what outlives a line, a file, an error.
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

using Style = MemoryMachine::Style;

class ControlTest : public testing::Test {
 protected:
  void add(const std::string& name, const std::string& text) { session.machine.add_file("/desk/" + name, text); }

  Session session;
  FileHandle& files = session.shared->file_handle;
  FileBuffer& buffers = session.shared->file_buffer;
};

TEST_F(ControlTest, PendingRunsAtOnceAndKeepsNothing) {
  EXPECT_EQ(session.run("// a; #kapow"), " a; #kapow");
  EXPECT_EQ(session.shared->control.pending(), "");
  EXPECT_EQ(session.shared->control.clear_pendng(), "");
  EXPECT_EQ(buffers.bytes(FileBuffer::kTextBuffer), " a; #kapow\r\n");
}

TEST_F(ControlTest, SettingsAreReadAsTyped) {
  for (const std::string row :
       {"#FULLLOG on -> 0: fulllog True", "#fulllog ON -> 1: fulllog False", "#autobank -> 2: Autobank True",
        "#autobuffer on -> 3: Autobank True", "#AUTOBANK off -> 4: Autobank False", "#do -> ", "! #kapow -> ",
        "lock -> Invalid Command : lock\n - console: no such command, in \"lock\"", "#lock -> ",
        "autobank on -> 9: Autobank True", "unlock -> ", "#silent on; // unseen -> ", "#silent; // seen ->  seen"}) {
    const auto [line, told] = cut(row);
    EXPECT_EQ(session.run(line), told) << line;
  }
}

TEST_F(ControlTest, AnErrorEndsTheLineAndLeavesTheSessionReady) {
  add("base/includes.psh", "#addcmmd walk 5\n#do");
  add("inner.psc", "#org b 1\n#addcmmd half 9\n#addparm much");
  add("outer.psc", "#boot\n#org a\nwalk\n#include inner.psc\n#kapow");
  session.run("#include outer.psc; #kapow");
  ASSERT_EQ(session.machine.user().boxes.size(), 1U);
  EXPECT_EQ(
      session.machine.user().boxes[0].text,
      "inner.psc:3, included from outer.psc:4: error 13: Type mismatch: \"much\" is no number, in \"#addparm much\"");
  EXPECT_EQ(files.level(), 1);
  EXPECT_EQ(session.run("half"), "Invalid Command : half\n - console: no such command, in \"half\"");
  session.run("#addcmmd other 7; #do; other; #org a");
  EXPECT_EQ(session.bytes(0), "\x05") << "buffers stay";
  EXPECT_EQ(session.bytes(1), "\x07") << "the half-written definition is gone, the buffer is still 1";
  EXPECT_EQ(buffers.count(1), 0) << "the waiting label is gone";
}

TEST_F(ControlTest, FilesNestToTheSixteenthLevelAndNoDeeper) {
  add("again.psc", "#include again.psc");
  session.run("#include again.psc");
  EXPECT_NE(session.machine.user().boxes.at(0).text.find("error 9: Subscript out of range: too many files"),
            std::string::npos);
  EXPECT_EQ(files.level(), 1);
  for (int i = 2; i <= 16; ++i) add(cat({i, ".psc"}), i < 16 ? cat({"#include ", i + 1, ".psc"}) : "// deep");
  EXPECT_NE(session.run("#include 2.psc").find(" deep"), std::string::npos);
  EXPECT_NE(session.machine.user().boxes.at(1).text.find("error 9"), std::string::npos) << "closing level 16";
  EXPECT_EQ(files.level(), 1);
}

TEST_F(ControlTest, ARunInsideARunningFileReturnsToIt) {
  add("game/includes.psh", "// game\n#include more.psh\n// after");
  add("more.psh", "// more\n#endfile\n#kapow");
  add("pack/install.psc", "// installed");
  add("main.psc", "#codeset game\n#install pack\n// last");
  session.run("#include main.psc");
  std::string order;
  for (const std::string& line : session.console.lines) {
    if (line.starts_with(' ') && line != " ") order += line;
  }
  EXPECT_EQ(order, " game more after installed last");
}

TEST_F(ControlTest, AScriptOutlivesItsLineCounter) {
  std::string text = "#org late\n";
  for (int i = 1; i < 40000; ++i) text += "!\n";
  add("long.psc", text + "#01\n#nonsense\n");
  session.run("#include long.psc");
  EXPECT_EQ(session.bytes(0), "\x01");
  EXPECT_NE(session.machine.user().boxes.at(0).text.find("long.psc:40002: error 13"), std::string::npos);
}

TEST_F(ControlTest, ALineHoldsSixteenStatements) {
  std::string line = "#01";
  for (int i = 2; i <= 15; ++i) line += "; #01";
  session.run(line + "; #01;");
  EXPECT_EQ(session.bytes(0).size(), 16U);
  session.run(line + " =A");
  EXPECT_EQ(session.bytes(0).size(), 32U);
  EXPECT_NE(session.run(line + "; #01 =A").find("at most sixteen statements"), std::string::npos);
  EXPECT_NE(session.run(line + "; #01; #01").find("at most sixteen statements"), std::string::npos);
  EXPECT_EQ(session.bytes(0).size(), 32U) << "a line that holds more does nothing";
}

TEST_F(ControlTest, AConsoleOutlivesItsLineCounter) {
  session.run("#org late");
  for (int i = 0; i < 40000; ++i) session.shared->control.pending("!");
  session.run("#01");
  EXPECT_TRUE(session.machine.user().boxes.empty());
  EXPECT_EQ(buffers.count(0), 1);
}

TEST_F(ControlTest, LabelsWaitForTheirFirstByteAndAreNeverLost) {
  session.run("#org a; #org b 2; nothing; #01 02; #org c 2; #org end 2");
  EXPECT_EQ(session.bytes(2), "\x01\x02");
  session.machine.add_file("/desk/game.bin", "");
  session.run("#kapop game.bin");
  EXPECT_EQ(buffers.count(0), 1);
  EXPECT_EQ(buffers.count(2), 3);
  EXPECT_EQ(buffers.get_Point("end", 2).Offset, 2);
  EXPECT_NE(session.run("#org B 2; #03").find("error 457"), std::string::npos);
  EXPECT_EQ(session.bytes(2), "\x01\x02") << "a second label of one name appends nothing";
}

TEST(ControlOnWindows, ComposesPathsInItsOwnForm) {
  Session session(Style::windows);
  session.machine.add_file("C:\\desk\\My Game\\includes.psh", "#addcmmd walk 5\n#do");
  session.run("#boot \"My Game\"; #org a.0x2; walk");
  session.machine.add_file("C:\\desk\\my image.bin", "....");
  session.run("#file \"my image.bin\"; #kapop");
  EXPECT_EQ(session.machine.bytes("C:\\desk\\my image.bin"), "..\x05.");
  EXPECT_TRUE(session.machine.user().boxes.empty());
}

}  // namespace
}  // namespace tidewright
