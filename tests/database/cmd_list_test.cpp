// The command database: how records are filed and found, and what code lines become.
#include <algorithm>
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "base/text.h"
#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

/// A session whose database is made by definition lines.
struct Database : Session {
  Database(std::initializer_list<std::string> definitions) {
    for (const std::string& lines : definitions) told += run(lines);
    told += run("#do");
  }

  CmdList& list() { return shared->cmd_list; }

  std::string told;
};

const std::initializer_list<std::string> kCommands = {
    "#addcmmd stop 0",
    "#addcmmd left 9",
    "#addcmmd Walk 5;#addparm 0;#addparm 1",
    "#addcmmd put 255;#addparm 2 amount",
    "#addcmmd call &hA;#addparm 3",
    "#addcmmd ret 11;#addparm 0;#addparm 4",
    "#addcmmd pick 12;#addparm 5 select(3,&h7,90)",
    "#addcmmd fix 13;#addparm 6 &h12;#addparm 6 &h1234;#addparm 6 &h00010002;#addparm 6 "
    "&h112233445566;#addparm 6 12",
    "#addcmmd turn 14;#addparm 7 left;#addparm 7 33;#addparm 0",
    "#addcmmd tell 15;#addparm 8 Intro;#addparm 8;#addparm 9",
    "#addcmmd some 16;#addparm 0 bind(1,2)walk;#addparm 0",
    "#addcmmd many 17;#addparm 0 bind(*)walk",
    "#addcmmd low 18;#addparm 1 mask(&h0f)",
    "#addcmmd odd 19;#addparm 0 bind(*)nobody",
    "#alias hop $1 far;#addparm 7 many",
};

TEST(Filing, TellsKeysThatAreTakenAndKeepsTheRecord) {
  Database base{"#addcmmd one 1 ' its text", "#addcmmd ONE 2", "#addcmmd two 1", "#addcmmd One 1", "#addcmmd ten 10"};
  EXPECT_EQ(base.told, "Duplicate Entry: oneDuplicate Entry: twoDuplicate Entry: one\nDuplicate Entry: one");
  EXPECT_EQ(base.list().count(), 5);
  const auto found = [&](std::string_view key, bool by_keyword) {
    const std::string text = base.list().item(key, by_keyword);
    return text + std::to_string(base.list().curcmd().bytecode());
  };
  EXPECT_EQ(found("oNe", true) + found("1", false) + found("2", false), "one1one1one2");
  EXPECT_EQ(found("two", true) + found("a", false), "two1ten10");
  EXPECT_NE(error_of([&] { found("10", false); }), 0);
  EXPECT_NE(error_of([&] { found("three", true); }), 0);
  base.list().item("1", false);
  EXPECT_EQ(base.list().curcmd().Descriptions(), "'its text");
}

TEST(Filing, DescribesParametersInTemplateAndSummary) {
  struct Case {
    std::string definition, text, summary;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"#addcmmd Walk 5;#addparm 1;#addparm 5;#addparm 7 Left", "walk $1 $2 ;  left", ""},
           {"#addcmmd x 255;#addparm 7 two words", "x ;  ", ""},
           {"#alias Set Flag;#addparm 8 set;#addparm 8 flag;#addparm 1", " set flag $1", "3,3,1"},
           {"#alias y;#addparm 4;#addparm 1;#addparm 7 left", " $1 $2 ;  left", "4,1,left"},
           {"#alias y;#addparm 6 &h0001;#addparm 6 12;#addparm 6 &h00010002;#addparm 200 z",
            " &h0001 12 ;  &h00010002 ;  z", "1,,2,3"}}) {
    Database base{c.definition};
    const tCmd& command = base.list().NewEnum().front();
    EXPECT_EQ(base.list().item(command.keyword(), true), c.text);
    EXPECT_EQ(command.Descriptions(), c.summary);
  }
}

TEST(Filing, RemoveLeavesLaterLookUpsOneOff) {
  Database base{"#addcmmd a 1", "#addcmmd b 2", "#addcmmd c 3"};
  base.list().Remove("1");
  EXPECT_EQ(base.list().count(), 2);
  EXPECT_EQ(base.list().NewEnum().front().keyword(), "b");
  EXPECT_EQ(base.list().item("a", true), "b");
  EXPECT_EQ(base.list().item("2", false), "c");
  EXPECT_NE(error_of([&] { base.list().item("c", true); }), 0);
  EXPECT_NE(error_of([&] { base.list().Remove("1"); }), 0);
}

TEST(Filing, RefusesASeventeenthParameter) {
  Database base{};
  base.run("#addcmmd all 2");
  std::string told;
  for (int i = 1; i <= 17; ++i) told += base.run("#addparm 0");
  EXPECT_NE(told.find("error 9"), std::string::npos);
  EXPECT_TRUE(base.run("all 1").starts_with("Invalid Command : all\n")) << "a half-written definition is forgotten";
}

TEST(Resolveparm, FollowsMaskSelectAndBind) {
  Database base{"#addcmmd walk 5", "#addcmmd run 6"};
  // "specification value", and "word value position".
  for (const std::string row : {"select(a,Bc,c) 1 -> select bc 0", "select(a,b,c) 3 -> select  0",
                                "select(a) 16 -> error 9", "mask(&h0F,1) 3 -> mask &h0F,1 0", "speed 3 ->  speed 0",
                                "bind(1,2)walk 2 -> bind 2 1", "bind(&h2,7)RUN 2 -> bind &h2 2",
                                "bind(1,2)walk 3 -> bind 3 0", "bind(*)run 9 -> bind 9 2", "bind()run 0 -> bind 0 0",
                                "bind(1) 1 -> bind 1 0", "bind(1)nobody 1 -> error 5", "other(1)walk 5 -> other 5 0"}) {
    const auto [text, wanted] = cut(row);
    std::string spec = text.substr(0, text.find(' '));
    std::string value = text.substr(text.find(' ') + 1);
    int position = 0;
    const int error = error_of([&] { position = base.list().resolveparm(spec, value); });
    EXPECT_EQ(error != 0 ? cat({"error ", error}) : cat({spec, " ", value, " ", position}), wanted) << text;
  }
}

/// What encode makes of `line`: "bytes|value list|pointer list", and behind it what it told but for the lines
/// of a plain success.
std::string encoded(Database& base, const std::string& line) {
  const std::size_t before = base.console.lines.size();
  std::string code = line;
  std::string extra;
  const std::string values = base.list().encode(code, extra, 12);
  EXPECT_EQ(base.list().curcmd().keyword(), "");
  std::string outcome = values.empty() ? code + "|" : hex_bytes(code) + "|" + values + "|" + extra;
  for (std::size_t i = before; i < base.console.lines.size(); ++i) {
    const std::string& told = base.console.lines[i];
    if (told != " -> " + values && !told.starts_with("12: Code Command - ")) outcome += "~" + told;
  }
  return outcome;
}

TEST(Encode, TurnsEveryKindIntoBytes) {
  Database base(kCommands);
  for (const std::string row :
       {"stop -> 00|0|", "WALK 7 0x1234 -> 05073412|5 7 &h1234|", "put #12345678 -> FF78563412|255 &h12345678|",
        "call House -> 0A21505452|10 House|House,1,3", "call 0x100 -> 0A21505452|10 &h100|&h100,1,3",
        "ret 1 -> 0B01|11 1|", "pick 1 -> 0C07|12 &h7|",
        "fix -> 0D123412020001006655443322110C|13 &h12 &h1234 &h00010002 &h112233445566 12|",
        "turn 1 -> 0E092101|14 9 33 1|~12: Command   = left [9] ",
        "tell Text Steps -> 0F215054522150545221505452|15 intro text Steps|intro,1,8,text,5,8,Steps,9,9",
        "some 2 8 9 10 -> 10020809000A|16 2 8 9 10|", "many 1 2 3 -> 1101020300|17 1 2 3|",
        "low 3 -> 120F00|18 &h0f|"}) {
    const auto [line, outcome] = cut(row);
    EXPECT_EQ(encoded(base, line), outcome);
  }
  base.run("walk 1 2");
  EXPECT_EQ(base.console.lines[base.console.lines.size() - 2], "16: Code Command - walk [5] ");
  EXPECT_EQ(base.console.lines.back(), " -> 5 1 2");
}

TEST(Encode, TellsWhatDoesNotFit) {
  Database base(kCommands);
  for (const std::string line : {"fly 1", "left2", "$1", ""}) {
    const std::string word = line.substr(0, line.find(' '));
    EXPECT_EQ(encoded(base, line), line + "|~Invalid Command : " + word);
  }
  for (const std::string row :
       {"walk -> ", "walk 1 -> ", "walk $a 2 -> $a", "walk 1 $b -> $b", "pick $d -> $d", "low $e -> $e",
        "walk left 2 -> left", "put &h123456789 -> &h123456789", "put 1e999 -> 1e999",
        "call &h123456789 -> &h123456789", "pick 99 -> 99", "some 1 8 -> ", "odd 1 -> 1"}) {
    const auto [line, word] = cut(row);
    std::string outcome;
    EXPECT_EQ(error_of([&, text = line] { outcome = encoded(base, text); }), 0) << line;
    EXPECT_EQ(outcome, line + "|~Invald Command :" + word);
    base.run(line);
  }
  EXPECT_EQ(base.bytes(0), "") << "and adds nothing";
}

TEST(Encode, WarnsOfWhatIsLost) {
  Database base(kCommands);
  for (const std::string row :
       {"walk 300 1 -> 05120100", "walk -2 0 -> 05FF0000", "walk 0x123 1 -> 05120100", "walk 12ab 1 -> 050C0100",
        "ret 1 77 -> 0B01", "stop now -> 00", "some 3 4 99 -> 100304"}) {
    const auto [line, bytes] = cut(row);
    const std::string outcome = encoded(base, line);
    EXPECT_TRUE(outcome.starts_with(bytes + "|")) << outcome;
    EXPECT_EQ(std::count(outcome.begin(), outcome.end(), '~'), 1) << "one line: " << outcome;
  }
}

TEST(Encode, FollowsAliases) {
  Database base(kCommands);
  for (const std::string line :
       {"#alias go;#addparm 7 walk", "#alias run;#addparm 7 go", "#alias walk $1 slowly to $2;#addparm 7 walk",
        "#alias step $1;#addparm 7 walk;#addparm 6 &h03;#addparm 1",
        "#alias face;#addparm 7 ret;#addparm 5 select(4,6)", "#alias ping;#addparm 7 pong",
        "#alias pong;#addparm 7 ping", "#do"}) {
    base.run(line);
  }
  tCmd& phrase = base.list().newcmd();
  phrase.alias(true);
  phrase.keyword("fixed $1 $2");
  phrase.parmcnt(1);
  phrase.ParmDesc(0, "walk $1 $2");
  base.list().add();
  for (const std::string row :
       {"go 1 2 -> 05010200|5 1 2|~a", "run 1 0x102 -> 05010201|5 1 &h102|~a~a",
        "walk 3 slowly to 4 -> 05030400|5 3 4|~a", "step 9 -> 05030900|5 &h03 9|~a", "fixed 9 8 -> 05090800|5 9 8|~a",
        "face 1 -> 0B06|11 6|~a", "go 1 -> go 1|~a~Invald Command :", "ping 1 -> ping 1|~a~a~Invald Command :"}) {
    auto [line, outcome] = cut(row);
    replace_all(outcome, "~a", "~12: Code Alias");
    EXPECT_EQ(encoded(base, line).substr(0, outcome.size()), outcome);
  }
}

}  // namespace
}  // namespace tidewright
