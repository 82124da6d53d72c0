// Small text helpers that every room uses. Letter case is that of ASCII: bytes above 127 are never changed, so texts of
// any single-byte code page, and UTF-8, pass through whole.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

inline constexpr std::string_view kLineEnd = "\r\n";

inline char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
inline char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

/// Lower-cases `text` in place.
void make_lower(std::string& text);
std::string lowered(std::string_view text);

/// Whether two texts are the same but for letter case.
bool same_text(std::string_view a, std::string_view b);

/// Replaces every `from` in `text`, left to right, never looking again at what was put in.
void replace_all(std::string& text, std::string_view from, std::string_view to);

/// Replaces each reference, "$" and all decimal digits behind it, by what `name_of` gives for the digits; where that is
/// empty it stays. One pass, which never looks at what was put in.
void replace_references(std::string& text, const std::function<std::string(std::string_view digits)>& name_of);

/// The value of a hexadecimal digit, -1 for any other character.
int hex_digit(char c);

/// The decimal form of `value`, appended to `text`.
void append_number(std::string& text, std::int64_t value);

/// The lines of `text`, at most `width` characters each, broken at single blanks. A longer word has a line of its own.
std::vector<std::string_view> wrapped(std::string_view text, std::size_t width);

/// One part of a text made by cat(): a text, a character or a decimal number.
class Piece {
 public:
  Piece(std::string_view text) : text_(text) {}
  Piece(const std::string& text) : text_(text) {}
  Piece(const char* text) : text_(text) {}
  Piece(char c) : digits_{c}, text_(digits_.data(), 1) {}
  Piece(int value) : Piece(static_cast<std::int64_t>(value)) {}
  Piece(std::size_t value) : Piece(static_cast<std::int64_t>(value)) {}
  Piece(std::int64_t value);
  Piece(const Piece&) = delete;
  Piece& operator=(const Piece&) = delete;

  std::string_view text() const { return text_; }

 private:
  std::array<char, 20> digits_;
  std::string_view text_;
};

/// The pieces one after another: cat({lineno, ": fulllog ", "True"}).
std::string cat(std::initializer_list<Piece> pieces);

/// The same, put into `text` in place of what it held.
void cat_into(std::string& text, std::initializer_list<Piece> pieces);

}  // namespace tidewright
