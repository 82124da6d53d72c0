#include <gtest/gtest.h>

#include "tests/session.h"

namespace tidewright {
namespace {

constexpr const char* kBufferClass = "Software\\Classes\\Tidewright.buffer";

TEST(FileTypes, AreRegisteredWithTheirLines) {
  Session session(MemoryMachine::Style::windows);
  MemoryRegistry& registry = session.machine.registry();
  EXPECT_EQ(session.run("#register ?"), " - No file types are registered");
  session.run("#regext source; #regext script; #regext header; #regext buffer; #register .BIN as source");
  EXPECT_EQ(session.run("#register ?"),
            ".bin as source\n.buf as buffer\n.header as header\n.script as script\n.source as source");
  const auto command = [&](const std::string& kind) {
    return registry.text("Software\\Classes\\Tidewright." + kind + "\\shell\\open\\command", "").value_or("none");
  };
  const std::string program = "\"C:\\tidewright\\tidewright.exe\" ";
  EXPECT_EQ(command("source"), program + "#boot ;#rawdecode \"%1\"");
  EXPECT_EQ(command("script"), program + "#boot ;#encode \"%1\"");
  EXPECT_EQ(command("header"), program + "#include \"%1\"");
  EXPECT_EQ(command("buffer"), program + "#boot ;#decode \"%1\"");
  EXPECT_EQ(registry.text("Software\\Classes\\.bin", ""), "Tidewright.source");
  EXPECT_FALSE(registry.has(std::string(kBufferClass) + "\\shell\\write")) << "the tool is not there";
  session.machine.add_file("C:\\tidewright\\platten.exe", "");
  session.run("#regext buffer");
  EXPECT_EQ(registry.text(std::string(kBufferClass) + "\\shell\\write\\command", ""),
            "\"C:\\tidewright\\platten.exe\" \"%1\"");
}

TEST(FileTypes, AreTakenBackAsTheyWereFound) {
  Session session(MemoryMachine::Style::windows);
  MemoryRegistry& registry = session.machine.registry();
  registry.text("Software\\Classes\\.bin", "", "Other.program");
  registry.text("Software\\Classes\\.bin", "Content Type", "application/x-game");
  const std::string before = registry.all();
  session.run("#register bin as source; #register bin as script; #register rom as source; #register img as source");
  registry.text("Software\\Classes\\.img", "", "Newer.program");
  session.run("#unregister BIN; #unregister .rom; #unregister img");
  EXPECT_EQ(registry.all(), before + "Software\\Classes\\.img:  = Newer.program\n");
  EXPECT_EQ(session.run("#unregister bin"), " - Files .bin are not registered");
}

TEST(FileTypes, WrongOnesChangeNothing) {
  Session session(MemoryMachine::Style::windows);
  for (const char* line : {"#register", "#register bin", "#register bin as", "#register bin as game",
                           "#register bin to source", "#register a.b as source", "#register a\\b as source",
                           "#register bin as source now", "#regext", "#regext game", "#unregister"}) {
    const std::size_t boxes = session.machine.user().boxes.size();
    session.run(line);
    EXPECT_EQ(session.machine.user().boxes.size(), boxes + 1) << line;
  }
  EXPECT_EQ(session.machine.registry().all(), "");
  Session elsewhere;
  EXPECT_EQ(elsewhere.run("#register bin as source"), " - File types are registered on Windows");
}

}  // namespace
}  // namespace tidewright
