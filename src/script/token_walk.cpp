#include "script/token_walk.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/numbers.h"
#include "base/text.h"

namespace tidewright {
namespace {

// By character code: what a character is to marks_of().
constexpr unsigned char kBlank = 1, kTab = 2, kRewritten = 4, kComment = 8, kSeparator = 16;
constexpr std::array<unsigned char, 256> kMarkOf = [] {
  std::array<unsigned char, 256> marks{};
  marks[' '] = kBlank;
  marks['\t'] = kTab;
  marks['x'] = marks['#'] = kRewritten;
  marks['\''] = marks['='] = kComment;
  marks[';'] = kSeparator;
  return marks;
}();

// By character code: whether lower-casing or normalising a token may change it where this character stands.
constexpr std::array<bool, 256> kTouched = [] {
  std::array<bool, 256> touched{};
  for (std::size_t c = 'A'; c <= 'Z'; ++c) touched[c] = true;
  touched['x'] = touched['#'] = touched[' '] = true;
  return touched;
}();

std::string_view trimmed(std::string_view token) {
  while (token.starts_with(' ')) token.remove_prefix(1);
  while (token.ends_with(' ')) token.remove_suffix(1);
  return token;
}

}  // namespace

Marks marks_of(std::string_view text) {
  unsigned found = 0;
  unsigned side_by_side = 0;
  unsigned previous = kBlank;  // a blank at either end is as one beside another
  for (const char c : text) {
    const unsigned mark = kMarkOf[static_cast<unsigned char>(c)];
    found |= mark;
    side_by_side |= mark & previous;
    previous = mark;
  }
  if (!text.empty()) side_by_side |= previous;
  return {.loose = (found & kTab) != 0 || (side_by_side & kBlank) != 0,
          .rewritten = (found & kRewritten) != 0,
          .comment = (found & kComment) != 0,
          .separator = (found & kSeparator) != 0};
}

void scrub(std::string& line) {
  if (!marks_of(line).loose) return;
  std::size_t kept = 0;
  for (char c : line) {
    if (c == '\t') c = ' ';
    if (c == ' ' && (kept == 0 || line[kept - 1] == ' ')) continue;
    line[kept++] = c;
  }
  if (kept > 0 && line[kept - 1] == ' ') --kept;
  line.resize(kept);
}

void normalize(std::string& token) {
  for (std::size_t at = token.find('x'); at != std::string::npos; at = token.find('x', at + 1)) {
    if (at == 0 || token[at - 1] != '0') continue;
    token[at - 1] = '&';
    token[at] = 'h';
  }
  if (token.find('#') != std::string::npos) replace_all(token, "#", "&h");
  if (token.starts_with(' ') || token.ends_with(' ')) token = std::string(trimmed(token));
}

// A cut at blanks scrubs as it goes: runs of them end one token, so only tabs need a look beforehand.
TokenWalk::TokenWalk(std::string_view text, char delimiter) : left_(text), delimiter_(delimiter) {
  if (delimiter == ' ' && text.find('\t') == std::string_view::npos) {
    left_ = trimmed(text);
  } else if (marks_of(text).loose) {
    scrubbed_ = text;
    scrub(scrubbed_);
    left_ = scrubbed_;
  }
}

bool TokenWalk::next(std::string& token) {
  if (ended_) return false;
  // Tokens are short: a loop finds their ends sooner than a search.
  const std::string_view left = left_;
  const char delimiter = delimiter_;
  std::size_t end = 0;
  bool touched = false;
  while (end < left.size() && left[end] != delimiter) touched |= kTouched[static_cast<unsigned char>(left[end++])];
  token.assign(left, 0, end);
  ended_ = end == left_.size();
  if (touched) {
    if (!ended_ && end > 1) make_lower(token);
    normalize(token);
  }
  left_.remove_prefix(std::min(end + 1, left_.size()));
  while (delimiter_ == ' ' && left_.starts_with(' ')) left_.remove_prefix(1);
  return true;
}

void TokenWalk::rest(std::string& token) {
  token.assign(left_);
  scrub(token);
  normalize(token);
  ended_ = true;
}

void split(std::string_view text, char delimiter, std::vector<std::string>& tokens) {
  TokenWalk walk(text, delimiter);
  tokens.reserve(8);
  std::size_t count = 0;
  while (!walk.ended()) {
    if (count == tokens.size()) tokens.emplace_back();
    walk.next(tokens[count++]);
  }
  tokens.resize(count);
}

bool is_value(std::string_view token, bool allow_dollar) {
  if (token.empty()) return false;
  if (token[0] == '&' && token.size() > 1 && token[1] == 'h') return true;
  if (token[0] == '$') return allow_dollar;
  return token == "0" || Val(token) > 0;
}

std::string standard_form(std::span<const std::string> tokens) {
  std::string form;
  int number = 1;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (i > 0) form += ' ';
    if (is_value(tokens[i], true)) {
      form += '$';
      append_number(form, number++);
    } else {
      form += tokens[i];
    }
  }
  return form;
}

}  // namespace tidewright
