#include "base/text.h"

#include <algorithm>
#include <charconv>

namespace tidewright {

void make_lower(std::string& text) {
  for (char& c : text) c = lower(c);
}

std::string lowered(std::string_view text) {
  std::string result(text);
  make_lower(result);
  return result;
}

bool same_text(std::string_view a, std::string_view b) {
  // Most that are the same are so to the letter.
  return a == b ||
         std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

void replace_all(std::string& text, std::string_view from, std::string_view to) {
  std::size_t found = text.find(from);
  if (found == std::string::npos) return;
  if (from.size() == to.size()) {
    for (; found != std::string::npos; found = text.find(from, found + from.size())) {
      to.copy(text.data() + found, to.size());
    }
    return;
  }
  std::string result;
  result.reserve(text.size());
  std::size_t start = 0;
  for (; found != std::string::npos; found = text.find(from, start)) {
    result.append(text, start, found - start).append(to);
    start = found + from.size();
  }
  result.append(text, start);
  text = std::move(result);
}

void replace_references(std::string& text, const std::function<std::string(std::string_view digits)>& name_of) {
  std::string replaced;
  std::size_t done = 0;
  for (std::size_t mark = text.find('$'); mark != std::string::npos; mark = text.find('$', mark + 1)) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789", mark + 1), text.size());
    if (end == mark + 1) continue;
    const std::string name = name_of(std::string_view(text).substr(mark + 1, end - mark - 1));
    if (name.empty()) continue;
    replaced.append(text, done, mark - done).append(name);
    done = end;
  }
  text = replaced.append(text, done);
}

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = lower(c);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::vector<std::string_view> wrapped(std::string_view text, std::size_t width) {
  std::vector<std::string_view> lines;
  while (text.size() > width) {
    std::size_t blank = text.rfind(' ', width);
    if (blank == std::string_view::npos) blank = text.find(' ');
    if (blank == std::string_view::npos) break;
    lines.push_back(text.substr(0, blank));
    text.remove_prefix(blank + 1);
  }
  if (!text.empty()) lines.push_back(text);
  return lines;
}

void append_number(std::string& text, std::int64_t value) {
  text.append(Piece(value).text());
}

Piece::Piece(std::int64_t value) {
  const char* const end = std::to_chars(digits_.data(), digits_.data() + digits_.size(), value).ptr;
  text_ = std::string_view(digits_.data(), end);
}

std::string cat(std::initializer_list<Piece> pieces) {
  std::string text;
  std::size_t length = 0;
  for (const Piece& piece : pieces) length += piece.text().size();
  text.reserve(length);
  cat_into(text, pieces);
  return text;
}

void cat_into(std::string& text, std::initializer_list<Piece> pieces) {
  text.clear();
  for (const Piece& piece : pieces) text.append(piece.text());
}

}  // namespace tidewright
