// The words that somebody may have meant who mistyped one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

/// How many characters must be put in, left out, changed, or swapped with their neighbour, to make `b` of `a`. Letter
/// case does not count.
std::size_t typing_distance(std::string_view a, std::string_view b);

/// Those of `words` that are near `typed`, nearest first, three at most: a third of its letters may be wrong.
std::vector<std::string_view> nearest(std::string_view typed, const std::vector<std::string_view>& words);

/// " (did you mean #org or #file?)": the words with `mark` before each; empty where there are none.
std::string did_you_mean(const std::vector<std::string_view>& words, std::string_view mark);

}  // namespace tidewright
