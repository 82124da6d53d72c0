// The game's character set and the defines.
#include <gtest/gtest.h>
#include <random>

#include "base/errors.h"
#include "base/numbers.h"
#include "tables/define_table.h"
#include "tables/text_table.h"
#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

using namespace std::string_literals;
using Word = TextTable::Word;
using Rows = std::initializer_list<std::pair<std::string, std::string>>;

TextTable game_table() {
  TextTable table;
  table.add("A", "&h01", Word::text);
  table.add("AB", "&h0203", Word::text);
  table.add("&h20", "&hF", Word::text);
  table.add("heart", "<3", Word::hash);
  table.add("heartbeat", "&h33", Word::hash);
  table.add("pause", "&h0D0A", Word::ctrl);
  table.add("end", "&hFF", Word::ctrl);
  return table;
}

TEST(TextTableTest, TakesTheLongestEntryAtEachPlace) {
  for (const auto& [text, bytes] : Rows{{"AABaB B",
                                         "\x01\x02\x03"
                                         "aB\x0F"
                                         "B"},
                                        {"#HeartS#heartBEAT!", "<3S3!"},
                                        {"&hheart&h41", "<3A"},
                                        {"\\pause\\Paus\\end", "\r\n\\Paus\xFF"},
                                        {"#0a#fF#4G&h4", "\x0A\xFF#4G&h4"}}) {
    EXPECT_EQ(game_table().text_to_bytes(text), bytes) << text;
  }
}

TEST(TextTableTest, RefusesWhatCouldNotBeReadBack) {
  TextTable table = game_table();
  const auto add = [&](std::string_view name, std::string_view value, Word word) {
    return error_of([&] { table.add(name, value, word); });
  };
  EXPECT_EQ(add("&h41", "&h09", Word::text), 457);
  EXPECT_EQ(add("HEART", "&h09", Word::hash), 457);
  EXPECT_EQ(add("HEART", "&h09", Word::ctrl), 0);
  EXPECT_EQ(add("a", "&h09", Word::text), 0);
  EXPECT_EQ(add("B", "&h0G", Word::text), 13);
  EXPECT_EQ(add("B", "", Word::text), 5);
  EXPECT_EQ(add("4f", "&h09", Word::hash) + add("#4f#", "&h09", Word::text), 5 + 5);
}

TEST(TextTableTest, WritesWhatALineWouldLoseAsBytes) {
  for (const auto& [bytes, text] : Rows{{"\x01\x42", "A#42"},  // "AB" would be another entry
                                        {"<34", "#heart4"},
                                        {"\x01\x0F\x01", "A A"},
                                        {"\x0F"
                                         "b\x0F",
                                         "#0Fb#0F"},
                                        {"\t\r\n\xFF", "#09\\pause\\end"}}) {
    EXPECT_EQ(game_table().bytes_to_text(bytes), text);
  }
}

TEST(TextTableTest, EndsATextBehindTheCodeNamedEnd) {
  TextTable table = game_table();
  table.add("end", "&h01FE", Word::hash);
  table.add("long", "&hFFFF02", Word::ctrl);
  EXPECT_EQ(table.length_of_text("\x01\x02\xFF"
                                 "abc"),
            3U);
  EXPECT_EQ(table.length_of_text("\x01\xFE"
                                 "abc"),
            5U)
      << "only a ctrl entry ends a text";
  EXPECT_EQ(table.length_of_text("\xFF\xFF\x02"
                                 "a\xFF"
                                 "b"),
            5U)
      << "its byte inside another code does not";
}

/// Texts of the characters that matter most to tokenizer, notation and entries.
class Ragged {
 public:
  explicit Ragged(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }

  std::string text(std::size_t shortest, std::size_t longest) {
    static constexpr std::string_view kOften = "   #&hH0xX14aAfF\\=;'\"% /!$\t\r\nqe";
    std::string result;
    for (std::size_t length = shortest + below(longest - shortest + 1); result.size() < length;) {
      result += below(8) == 0 ? static_cast<char>(below(256)) : kOften[below(kOften.size())];
    }
    return result;
  }

 private:
  std::mt19937 random_;
};

// Whatever the entries are, a text made of bytes gives these bytes again: at once, behind "=" at the console,
// in a script file, and with "&h" written as "0x", as a decompiled script has it.
TEST(TextTableTest, TextIsTheInverseOfBytesAlsoInAScript) {
  static constexpr int kTables = 250;
  static constexpr int kTexts = 20;
  Ragged ragged(7);
  for (int round = 0; round < kTables; ++round) {
    Session session;
    TextTable& table = session.shared->text_table;
    std::string entries;
    std::vector<std::string> values;
    for (std::size_t left = ragged.below(14); left > 0; --left) {
      const std::string name = ragged.text(1, 4);
      const std::string value = ragged.text(1, 3);
      const auto word = static_cast<Word>(ragged.below(3));
      if (error_of([&] { table.add(name, value, word); }) != 0) continue;
      entries += cat({" ", static_cast<int>(word), hex_bytes(name), ":", hex_bytes(value)});
      values.push_back(value);
    }
    std::string script;
    std::string all;
    for (int i = 0; i < kTexts; ++i) {
      std::string bytes = ragged.text(1, 8);
      while (!values.empty() && ragged.below(3) > 0) bytes += values[ragged.below(values.size())];
      const std::string text = table.bytes_to_text(bytes);
      SCOPED_TRACE(hex_bytes(bytes) + " as \"" + text + "\" with" + entries);
      ASSERT_EQ(hex_bytes(table.text_to_bytes(text)), hex_bytes(bytes));
      std::string decompiled = text;
      replace_all(decompiled, "&h", "0x");
      for (const std::string& written : {text, decompiled}) {
        const std::string line = cat({"=", written});
        session.shared->file_buffer.buffer(0, {});
        session.run(line);
        ASSERT_EQ(hex_bytes(session.bytes(0)), hex_bytes(bytes));
        script += line + (ragged.below(2) == 0 ? "\r\n" : "\n");
        all += bytes;
      }
    }
    session.machine.add_file("/desk/texts.psc", script);
    session.shared->file_buffer.buffer(0, {});
    session.run("#include texts.psc");
    ASSERT_EQ(hex_bytes(session.bytes(0)), hex_bytes(all)) << "with" << entries;
  }
}

TEST(DefineTableTest, ReplacesWholeTokensToTheEndOfTheChain) {
  DefineTable table;
  table.add("Speed", "fast");
  table.add("FAST", "&h10");
  table.add("a", "b");
  EXPECT_EQ(table.replace("walk speed SPEED speedy xspeed a.a A"), "walk &h10 &h10 speedy xspeed a.a b");
  EXPECT_EQ(table.replace(""), "");
  ASSERT_NE(table.find("speed"), nullptr);
  EXPECT_EQ(*table.find("speed"), "&h10");
  EXPECT_EQ(table.find("slow"), nullptr);
  EXPECT_EQ(error_of([&] { table.add("SPEED", "1"); }), 457);
  EXPECT_EQ(error_of([&] { table.add("self", "SELF"); }), 5);
  EXPECT_EQ(error_of([&] { table.add("b", "A"); }), 5);
  table.add("b", "c");
  EXPECT_EQ(error_of([&] { table.add("C", "a"); }), 5);
  EXPECT_EQ(table.replace("a"), "c");
}

}  // namespace
}  // namespace tidewright
