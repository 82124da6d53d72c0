#include "base/nearest.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace tidewright {

std::size_t typing_distance(std::string_view a, std::string_view b) {
  // Three rows of the table whose entry (i, j) is the distance of the first i characters of a and the first j of b.
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> above(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  const auto same = [&](std::size_t i, std::size_t j) { return lower(a[i - 1]) == lower(b[j - 1]); };
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(before, above);
    std::swap(above, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (same(i, j) ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && same(i - 1, j) && same(i, j - 1);
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
  }
  return row[b.size()];
}

std::vector<std::string_view> nearest(std::string_view typed, const std::vector<std::string_view>& words) {
  constexpr std::size_t kMost = 3;
  constexpr std::size_t kLongest = 40;  // what is longer is no mistyped word
  if (typed.size() > kLongest) return {};
  const std::size_t near = (typed.size() + 1) / 3;
  std::vector<std::pair<std::size_t, std::string_view>> found;
  for (const std::string_view word : words) {
    // A difference in length is a distance already.
    if (std::max(word.size(), typed.size()) - std::min(word.size(), typed.size()) > near) continue;
    const std::size_t distance = typing_distance(typed, word);
    if (distance <= near) found.emplace_back(distance, word);
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string_view> result;
  for (const auto& [distance, word] : found) {
    if (result.size() < kMost && std::find(result.begin(), result.end(), word) == result.end()) result.push_back(word);
  }
  return result;
}

std::string did_you_mean(const std::vector<std::string_view>& words, std::string_view mark) {
  if (words.empty()) return {};
  std::string text = " (did you mean ";
  for (std::size_t i = 0; i < words.size(); ++i) {
    text += cat({i == 0 ? "" : i + 1 == words.size() ? " or " : ", ", mark, words[i]});
  }
  return text + "?)";
}

}  // namespace tidewright
