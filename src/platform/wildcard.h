// Name patterns of directory listings, for the platforms whose own listings know none.
#pragma once

#include <string_view>

namespace tidewright {

/// Whether the whole of `name` matches `pattern`: "*" stands for any text, "?" for any one character, letter case does
/// not count, and "*.*" is every name, also one without a dot.
bool matches(std::string_view pattern, std::string_view name);

}  // namespace tidewright
