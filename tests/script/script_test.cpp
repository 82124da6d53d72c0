// The tokenizer and the value converter.
#include <gtest/gtest.h>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/smart_num.h"
#include "script/smart_string.h"
#include "tests/outcome.h"

namespace tidewright {
namespace {

using namespace std::string_literals;
using Rows = std::initializer_list<std::pair<std::string, std::string>>;

std::string tokens(const SmartString& split) {
  std::string text = split.count() + ":" + split.values(0);
  for (int i = 1; i <= split.last(); ++i) text += "|" + split.values(i);
  return text;
}

TEST(KaTrim, CutsMarkerCommentAndCode) {
  // The line, and "marker|code|comment|what is left of the line".
  for (const std::string row :
       {"\t#org    &h100 -> #|org &h100||org &h100", "a\t\tb \r\n c  -> |a b \r\n c||a b \r\n c",
        "Add 1 -> A|dd 1||dd 1", "Bad 0x1 -> |Bad 0x1||Bad 0x1", "&h0A 0B -> #|0A 0B||0A 0B", "&H0A -> &|H0A||H0A",
        "12 -> 1|2||2", "// note 'x = 1 -> /|before|/ note 'x = 1|", "=  Two  =words'  -> =|before| Two =words'|",
        "' -> '|before||", "Say 0x1 ' Note 0x1 #2 -> |say &h1|'Note &h1 &h2|Say 0x1 ' Note 0x1 #2",
        "#say 'It's -> #|say|'it|say 'It's", "a = b -> |a|=b|a = b", "x=1 =2 -> |x|=1|x=1 =2", "x=1 -> |x=1||x=1",
        "ab ' c =d -> |ab|'c =d|ab ' c =d", "abc' -> |abc'||abc'", "abc = -> |abc|=|abc ="}) {
    const auto [text, wanted] = cut(row);
    SCOPED_TRACE(text);
    SmartString trimmed;
    trimmed.values(0, "before");
    std::string line = text;
    trimmed.kaTrim(line);
    std::string blank = " \t";
    trimmed.kaTrim(blank);  // changes nothing but its line
    EXPECT_EQ(trimmed.vDirective() + "|" + trimmed.values(0) + "|" + trimmed.vComment() + "|" + line + blank, wanted);
  }
}

TEST(KaSplit, NormalisesEveryTokenAndLowersAllButTheLast) {
  for (const std::string row :
       {" -> 0:", "text,name,Hello -> 2:text|name|Hello", "0x1F,#20 -> 1:&h1f|&h20", "0X1F,0X1F -> 1:&h1f|0X1F",
        "a#b,10x -> 1:a&hb|1&h", "AB , ,C  D,, E  -> 4:ab||c d||E",
        "T1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,T16,#1 -> 15:t1|2|3|4|5|6|7|8|9|10|11|12|13|14|15|T16,&h1"}) {
    const auto [text, wanted] = cut(row);
    SmartString split;
    split.kaSplit(text, ',');
    EXPECT_EQ(tokens(split), wanted);
  }
  SmartString split;
  split.kaSplit("a b c", ' ');
  split.kaSplit(split.values(2), ' ');
  std::string text;
  split.concat(text, 0, 2);
  EXPECT_EQ(text, "cbc") << "higher slots keep what they held";
  EXPECT_EQ(outcome([&] { return split.values(16); }), "error 9");
  EXPECT_EQ(outcome([&] { return split.count("two"), ""; }), "error 13");
}

TEST(Kasubparm, LeavesOutTheLastCharacterAndStartsAnew) {
  const auto field = [](std::string_view text, std::string_view delimiter, int index) {
    SmartString list;
    list.kaSplit("x y", ' ');
    const std::string found = outcome([&] { return list.kasubparm(text, delimiter, index); });
    return found + list.count();
  };
  EXPECT_EQ(field("A b, #1,c", ",", 0) + field("A b, #1,c", ",", 1), "A b0 #10");
  EXPECT_EQ(field("a,b", ",", 1) + field("(a,b)", ",", 1) + field("a,b", ",", 2), "0b0a0");
  EXPECT_EQ(field("a::b::c", "::", 1) + field("", ",", 0) + field("a,", ",", 1), "b0error 50error 50");
}

TEST(Values, AreToldFromWordsInTheStandardForm) {
  for (const std::string token : {"&h0", "&hzz", "12ab", "0", ".5", " 5"}) {
    EXPECT_TRUE(SmartString::isvalue(token, false) && SmartNum::isvalue(token, false)) << token;
  }
  for (const std::string token : {"&H0", "00", "0.0", "0x10", "-5", "", "left", "&", "$5"}) {
    EXPECT_FALSE(SmartString::isvalue(token, false) || SmartNum::isvalue(token, false)) << token;
  }
  // An upper-case mark, which only a line's last token can have: its reading makes it a value of a code line,
  // but it is no literal of the converter.
  EXPECT_TRUE(SmartString::isvalue("&H10", false));
  EXPECT_FALSE(SmartNum::isvalue("&H10", false));
  SmartString line;
  line.kaSplit("move 10 #20 $x -5 00 0 left", ' ');
  line.kaStandard();
  EXPECT_EQ(line.vStandard(), "move $1 $2 $3 -5 00 $4 left");
}

TEST(STrans, GivesLabelsAndWidths) {
  const std::int16_t widths[] = {1, 2, 4, 4, 4, 5, 6, 1, 4, 4, 10, 11, 12, 13};
  std::string labels;
  for (int kind = 0; kind < 14; ++kind) {
    labels += std::get<std::string_view>(SmartNum::STrans(-kind, 0));
    EXPECT_EQ(std::get<std::int16_t>(SmartNum::STrans(-kind, 2)), widths[kind]) << kind;
    EXPECT_EQ(std::get<std::int16_t>(SmartNum::STrans(-kind, 1)), 2 * widths[kind]) << kind;
  }
  EXPECT_EQ(labels,
            "byte    = word    = dword   = Pointer = END OF SCRIPT MARK- Enum    = - Mask    = Command   = "
            "Str Point = Move Point= String    = User Byte = User Word = User DWord= ");
  EXPECT_EQ(SmartNum::STrans(1, 0), SmartNum::Translation());
  EXPECT_EQ(SmartNum::STrans(3, 2), SmartNum::Translation(std::int16_t{-3}));
}

TEST(SmartNumTest, PushesLittleEndianAndKeepsTheLeadingDigits) {
  const Bank bank;
  const SmartNum num(bank);
  const auto push = [&](int kind, std::initializer_list<std::string_view> values) {
    std::string text;
    for (const std::string_view value : values) {
      text += outcome([&] { return hex_bytes(num.numberpush(value, kind)); }) + " ";
    }
    return text;
  };
  EXPECT_EQ(push(0, {"300", "256", "&H5", "&h", "2.5", "12ab", "ab", "&hZZ"}), "12 10 05 00 02 0C 00 error 13 ");
  EXPECT_EQ(push(-1, {"&h1234", "&h12345", "-2"}), "3412 3412 FFFF ");
  EXPECT_EQ(push(-2, {"-2", "4294967296"}), "FEFFFFFF error 6 ");
  EXPECT_EQ(push(-3, {"&h100", "&h9000000", "0"}), "00010008 00000009 00000000 ");
  EXPECT_EQ(push(-5, {"1"}), "0100000000 ");
  EXPECT_EQ(push(1, {"&hABC", "&h12&h34", "112233445566", "", "12 4"}), "BC0A 3412 665544332211  error 13 ");
  EXPECT_EQ(SmartNum::numberpull("\x05\0"s, 7), "&h0005");
}

TEST(SmartNumTest, AddsTheBankBaseToSmallPositivePointers) {
  const auto pointers = [](bool autobank) {
    const Bank bank{autobank};
    std::string text;
    for (const std::string_view value : {"&h100", "&h7FFFFFF", "&h8000000", "0", "-5", "&hFFFFFFFE", "3000000000"}) {
      text += outcome([&] { return hex(SmartNum(bank).CPtr(value)); }) + " ";
    }
    return text;
  };
  EXPECT_EQ(pointers(true), "8000100 FFFFFFF 8000000 0 FFFFFFFB FFFFFFFE error 6 ");
  EXPECT_EQ(pointers(false), "100 7FFFFFF 8000000 0 FFFFFFFB FFFFFFFE error 6 ");
}

TEST(SmartNumTest, CodesValuesAndListsPointers) {
  const Bank bank;
  // "values/kinds", and "bytes/pointer list".
  for (const auto& [text, wanted] : Rows{{"/0,0", "/"},
                                         {"5 $6 label/0,0,3",
                                          "\x05"
                                          "11!PTR/label,3,3"},
                                         {"$1 $2 $3/1,2,5", "121316/"},
                                         {"$1234 7 Label/3,1,8", "!PTR\x07\0!PTR/$1234,0,3,Label,6,8"s},
                                         {"La &h100 0/9,3,10", "!PTR!PTR!PTR/la,0,9,&h100,4,3,0,8,10"},
                                         {"1 2/7", "\x01\x02/"},
                                         {"65 65 65 65 65 65 65 65 65 65 65 65 65 65 65 65 65 65 x"
                                          "/0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,1,3",
                                          "AAAAAAAAAAAAAAAAAA\0!PTR/x,19,3"s},
                                         {"&h123456789/3", "error 6"}}) {
    const std::size_t slash = text.find('/');
    std::string kinds = text.substr(slash + 1);
    const std::string values = text.substr(0, slash);
    const auto code = [&] { return SmartNum(bank).kaCodevals(values, kinds) + "/"; };
    std::string coded = outcome(code);
    if (coded.ends_with('/')) coded += kinds;
    EXPECT_EQ(coded, wanted) << text;
  }
  EXPECT_EQ(SmartNum(bank).kaRipvals("\x01\x02\x03\x04\x05", "0,1,3"), "&h01 &h0302 &h050403");
  EXPECT_EQ(SmartNum(bank).kaRipvals("\x01\x02\x03\x04\x05", "0,$x"), "&h04030201 &h02");
  EXPECT_EQ(SmartNum(bank).kaRipvals("", "1,1"), "&h &h");
}

}  // namespace
}  // namespace tidewright
