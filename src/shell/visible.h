// Texts as a terminal may be given them.
#pragma once

#include <string>
#include <string_view>

namespace tidewright {

/// Appends `text` to `output` with nothing in it that could drive a terminal: CR LF becomes a line end, every other
/// control character but a line feed "^" and a letter, and each byte that belongs to no UTF-8 character "\xNN".
void append_visible(std::string& output, std::string_view text);

}  // namespace tidewright
