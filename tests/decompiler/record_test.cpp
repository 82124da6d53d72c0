// Data lines: numbers with type words between them.
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "tests/session.h"

namespace tidewright {
namespace {

TEST(RecordDraw, WritesHexadecimalNumbersInTheWidthOfTheLastTypeWord) {
  for (const auto& [line, bytes] : std::initializer_list<std::pair<std::string, std::string_view>>{
           {"#move 1 i 203 p 8000 ' fields", "01030221505452"},
           {"#binary 10 &h10 0x10 #10 255", "1010101025"},
           {"#raw word 1 b 1 int 1 byte 1 i 1 char 1", "010001010001010001"},
           {"#raw l FFFFFFFF dword 2 long 3", "FFFFFFFF0200000003000000"},
           {"#raw ptr 1 pointer x", "2150545221505452"},
           {"#move i", ""},
           {"#move 1 2 3 4 5 6 7 8 9 a 0b c d e f 10 11 12 l 13", "0102030405060708090A0B0C0D0E0F10111213000000"},
           {"#move 1 Byte", ""},
           {"#move zz", ""}}) {
    Session session;
    const std::string told = session.run(line);
    EXPECT_EQ(hex_bytes(session.bytes(0)), bytes) << line;
    EXPECT_EQ(told.find("error 13") != std::string::npos, line.ends_with("Byte") || line.ends_with("zz")) << told;
  }
  Session session;
  EXPECT_EQ(session.shared->record.Draw("frames 1 2"), "");
  EXPECT_EQ(session.console.lines.back(), "not implimented");
}

TEST(RecordUndraw, WritesLinesThatComeBackWhole) {
  const std::string long_one(255, 'A');
  struct Case {
    std::string data;
    std::int16_t stop;
    std::string text;  // empty where the bytes say it all
    std::size_t size;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"\x01\x02\x03\x04\x05\x06\x07\xFF", 1, "#move &h1 &h2 &h3 &h4 &h5 &h6 \r\n#move &h7 &hFF ", 8},
           {"\x01\x02\x03\x04\x05\x06", 1, "#move &h1 &h2 &h3 &h4 &h5 &h6 ", 6},
           {"\xFF\x01", 0, "#move &hFF &h1 ", 2},
           {"\xFF\x01", 1, "#move &hFF ", 1},
           {"\xFF\x01", -1, "#move &hFF ", 1},
           {"", 1, "#move ", 0},
           {"\x01\x02\x03\x04\x05\xFF\x07", 9, "#move &h1 &h2 &h3 &h4 &h5 &hFF ", 6},
           {long_one, 1, "", 255},
           {long_one + "B", 1, "", 256},
           {long_one + "BC", 1, "", 256},
           {long_one + "\xFF"
                       "C",
            1, "", 256}}) {
    Session session;
    std::string text = c.data;
    EXPECT_EQ(session.shared->record.undraw(text, c.stop), c.size);
    if (!c.text.empty()) {
      EXPECT_EQ(text, c.text);
    }
    EXPECT_EQ(session.console.lines.back(), " - MOVEMENT DATA ASSUMED");
    session.machine.add_file("/desk/back.psc", text);
    session.run("#include back.psc");
    EXPECT_EQ(session.bytes(0), c.data.substr(0, c.size)) << text;
  }
}

}  // namespace
}  // namespace tidewright
