// The rules by which texts are cut at a delimiter, for any number of tokens. SmartString keeps the first sixteen in
// slots; whoever needs all of them (value lists, pointer lists, data lines) walks.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

/// What stands in a text, as far as the rules below ask: one look spares several searches, and most lines hold nothing.
struct Marks {
  bool loose = false;      // scrub() would change it
  bool rewritten = false;  // an "x" or "#", which normalize() may change
  bool comment = false;    // a "'" or "="
  bool separator = false;  // a ";"
};
Marks marks_of(std::string_view text);

/// Folds tabs and runs of spaces in `line` to single spaces and trims both ends. Line ends are kept.
void scrub(std::string& line);

/// Rewrites "0x" and "#" anywhere in `token` to "&h" and trims spaces at both ends.
void normalize(std::string& token);

/// Hands out the tokens of a text one by one. The text is scrubbed first; every token is normalised, and every one of
/// two or more characters but the last is lower-cased. A text without a delimiter, also an empty one, is one token. The
/// text must outlive the walk.
class TokenWalk {
 public:
  TokenWalk(std::string_view text, char delimiter);
  TokenWalk(const TokenWalk&) = delete;
  TokenWalk& operator=(const TokenWalk&) = delete;

  /// Puts the next token into `token`; false, and `token` as it was, when there is none left.
  bool next(std::string& token);

  /// Takes everything that is left, delimiters included, as one last token. Only while tokens are left.
  void rest(std::string& token);

  bool ended() const { return ended_; }

 private:
  std::string scrubbed_;  // only where scrubbing changes the text
  std::string_view left_;
  char delimiter_;
  bool ended_ = false;
};

/// All tokens of `text`, put into `tokens` in place of what it held.
void split(std::string_view text, char delimiter, std::vector<std::string>& tokens);

/// Whether `token` is a value: it begins with "&h" (lower-case h), or with "$" where `allow_dollar`, or its numeric
/// reading is above zero, or it is exactly "0". So "-5" and "00" are no values, "12ab" is one.
bool is_value(std::string_view token, bool allow_dollar);

/// The tokens joined by single spaces, every value replaced by "$" and its running number from 1.
std::string standard_form(std::span<const std::string> tokens);

}  // namespace tidewright
