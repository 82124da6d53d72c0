#include "shell/visible.h"

#include "base/numbers.h"

namespace tidewright {
namespace {

bool is_plain(char c) {
  return static_cast<signed char>(c) >= ' ' && c != '\x7F';
}

// The length of the UTF-8 character above the control codes that starts `text`, 0 when none does.
std::size_t utf8_length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  if (length == 0 || text.size() < length) return 0;
  unsigned code = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) return 0;
    code = code << 6 | (next & 0x3F);
  }
  constexpr unsigned kFirst[] = {0xA0, 0x800, 0x10000};  // shorter forms of a code, and control codes, are none
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  return code >= kFirst[length - 2] && code <= 0x10FFFF && !surrogate ? length : 0;
}

}  // namespace

void append_visible(std::string& output, std::string_view text) {
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < text.size() && is_plain(text[length])) ++length;
    output.append(text.substr(0, length));
    text.remove_prefix(length);
    if (text.empty()) return;
    const char c = text[0];
    length = 1;
    if (c == '\n' || text.starts_with("\r\n")) {
      output += '\n';
      length = c == '\n' ? 1 : 2;
    } else if (static_cast<unsigned char>(c) < 0x80) {
      output += '^';
      output += static_cast<char>(c ^ 0x40);
    } else if (const std::size_t whole = utf8_length(text); whole > 0) {
      output.append(text.substr(0, whole));
      length = whole;
    } else {
      output += "\\x";
      output += hex_bytes(text.substr(0, 1));
    }
    text.remove_prefix(length);
  }
}

}  // namespace tidewright
