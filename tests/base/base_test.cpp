// Numbers as scripts write them, the checked conversions, and the collection under every table.
#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include "base/collection.h"
#include "base/numbers.h"

namespace tidewright {
namespace {

/// What `action` writes, or "error" and the number of what it raises.
std::string outcome(const std::function<void(std::ostream&)>& action) {
  std::ostringstream text;
  text.precision(12);
  try {
    action(text);
  } catch (const RuntimeError& error) {
    text << "error " << static_cast<int>(error.number);
  }
  return text.str();
}

TEST(Numbers, PrefixIsTheLongestThatReadsAsANumber) {
  using Rows = std::initializer_list<std::pair<std::string_view, std::string_view>>;
  for (const auto& [text, wanted] :
       Rows{{"", "0 0"},           {"  ", "0 0"},     {"ab", "0 0"},  {"12", "12 2"},    {" 12ab", "12 3"},
            {"1 2", "1 1"},        {"-5,", "-5 2"},   {"+5", "5 2"},  {"-", "0 0"},      {"$5", "0 0"},
            {".", "0 0"},          {".5.5", "0.5 2"}, {"5.", "5 2"},  {"1e3", "1000 3"}, {"1e+", "1 1"},
            {"-1e-2z", "-0.01 5"}, {"1e-400", "0 6"}, {"inf", "0 0"}, {"0x10", "0 1"},   {"&h1Fg", "31 4"},
            {"&H1f", "31 4"},      {" &h0.5", "0 4"}, {"&hg", "0 0"}, {"&h", "0 0"},     {"1e999", "error 6"},
            {"&hFFFF", "65535 6"}}) {
    const auto write = [text = text](std::ostream& out) { out << Val(text) << ' ' << number_prefix(text).length; };
    EXPECT_EQ(outcome(write), wanted) << text;
  }
  const auto strict = [](std::string_view text) {
    return outcome([&](std::ostream& out) { out << whole_number_text(text); });
  };
  EXPECT_EQ(strict(" 12 ") + strict("12ab") + strict(""), "12error 13error 13");
  EXPECT_EQ(strict("&h7fffffff") + strict("&h80000000") + strict("&hFFFFFFFF"), "2147483647-2147483648-1");
  EXPECT_EQ(strict("&h123456789"), "error 6");
}

TEST(Numbers, ConversionsRoundHalvesToEvenAndRefuseWhatDoesNotFit) {
  const auto convert = [](auto width, std::initializer_list<double> values) {
    std::string text;
    for (const double value : values) text += outcome([&](std::ostream& out) { out << +width(value); }) + ' ';
    return text;
  };
  EXPECT_EQ(convert(to_byte, {.5, 1.5, 2.5, -.5, 255.4, 255.5, -.6}), "0 2 2 0 255 error 6 error 6 ");
  EXPECT_EQ(convert(to_integer, {32767.4, 32767.5, -32768.5, -32769}), "32767 error 6 -32768 error 6 ");
  EXPECT_EQ(convert(to_long, {2147483647.4, 2147483648, HUGE_VAL}), "2147483647 error 6 error 6 ");
  const auto next = [](double value) { return checked_add(static_cast<std::int16_t>(value), 1); };
  EXPECT_EQ(convert(next, {32766, 32767}), "32767 error 6 ");
  EXPECT_EQ(hex(0) + hex(0x1A2B0) + hex(-16), "01A2B0FFFFFFF0");
}

// Random operations, done to a collection and to a plain list.
TEST(CollectionTest, DoesAsAListThatIsSearched) {
  Collection<int> collection;
  EXPECT_EQ(collection.find("x"), nullptr);
  EXPECT_FALSE(collection.remove("x"));
  std::vector<std::pair<std::string, int>> list;
  std::mt19937 random(1);
  for (int step = 0; step < 20000; ++step) {
    const std::string key = "key" + std::to_string(random() % 300);
    const std::string typed = random() % 2 == 0 ? key : "KEY" + key.substr(3);
    const auto entry = std::find_if(list.begin(), list.end(), [&](const auto& pair) { return pair.first == key; });
    const bool known = entry != list.end();
    const auto action = random() % 4;
    if (action == 0) {
      EXPECT_EQ(outcome([&](std::ostream&) { collection.add(typed, step); }), known ? "error 457" : "");
      if (!known) list.emplace_back(key, step);
    } else if (action == 1) {
      collection.put(typed, step);
      known ? void(entry->second = step) : void(list.emplace_back(key, step));
    } else if (action == 2) {
      EXPECT_EQ(collection.remove(typed), known);
      if (known) list.erase(entry);
    } else {
      const int* const found = collection.find(typed);
      ASSERT_EQ(found != nullptr, known);
      EXPECT_EQ(known ? *found : 0, known ? entry->second : 0);
    }
    ASSERT_EQ(collection.count(), list.size());
  }
  for (std::size_t i = 0; i < list.size(); ++i) EXPECT_EQ(collection.at(i + 1), list[i].second);
  EXPECT_EQ(outcome([&](std::ostream&) { collection.at(0); }), "error 9");
  EXPECT_EQ(outcome([&](std::ostream&) { collection.at(list.size() + 1); }), "error 9");
}

}  // namespace
}  // namespace tidewright
