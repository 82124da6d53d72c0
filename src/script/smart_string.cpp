#include "script/smart_string.h"

#include <span>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// A line's first character is its marker up to and including this code. It takes in the digits and the capital "A": a
// line that begins with one of them loses that character.
constexpr unsigned char kLastMarker = 65;

// Whether the line behind this marker is comment, or text, as a whole.
bool is_whole_line(std::string_view marker) {
  return marker == "/" || marker == "=" || marker == "!" || marker == "'";
}

bool is_slot(int index) {
  return index >= 0 && index < SmartString::kSlots;
}

}  // namespace

void SmartString::KaScrub(std::string& line) {
  scrub(line);
}

void SmartString::clear() {
  directive_.clear();
  comment_.clear();
  standard_.clear();
  values_[0].clear();
  count_ = 0;
}

void SmartString::kaTrim(std::string& line) {
  const Marks marks = marks_of(line);
  if (marks.loose) scrub(line);
  if (line.empty()) return;
  line.erase(0, line.size() - take_marker(line).size());
  comment_.clear();
  if (is_whole_line(directive_)) {
    comment_ = std::move(line);
    line.clear();
    return;
  }
  if (marks.comment) {
    cut_comment(line);
  } else {
    values_[0] = line;
  }
}

// Puts the marker of a line that is not empty into vDirective; the result is the line behind it.
std::string_view SmartString::take_marker(std::string_view line) {
  directive_.clear();
  if (static_cast<unsigned char>(line[0]) > kLastMarker) return line;
  const bool is_number_sign = line.starts_with("&h");  // as it reads when it was normalised
  directive_ = is_number_sign ? '#' : line[0];
  return line.substr(is_number_sign ? 2 : 1);
}

void SmartString::cut(std::string_view line) {
  const Marks marks = marks_of(line);
  // Most lines are one statement as it stands: it is put where it belongs without going the whole way.
  if (!line.empty() && !marks.loose && !marks.comment && !marks.separator) {
    const std::string_view code = take_marker(line);
    if (!is_whole_line(directive_)) {
      comment_.clear();
      values_[0] = code;
      if (marks.rewritten || code.starts_with(' ')) normalize(values_[0]);
      count_ = 0;
      return;
    }
  }
  std::string trimmed(line);
  kaTrim(trimmed);
  kaSplit(values_[0], ';');
}

void SmartString::cut_comment(const std::string& line) {
  // 1-based positions of the first "'" and the first " ="; the line's length where there is none.
  const auto position = [&](std::size_t found) { return found == std::string::npos ? line.size() : found + 1; };
  const std::size_t quote = position(line.find('\''));
  const bool has_equals = line.find('=') != std::string::npos;
  const std::size_t equals = position(has_equals ? line.find(" =") : std::string::npos);
  if (quote == equals) {
    values_[0] = line;
    return;
  }
  // The cut is made at every "=", not only at the " =" that was found: an earlier "=" ends the code.
  const char mark = quote < equals ? '\'' : '=';
  kaSplit(line, mark);
  comment_ = mark + values_[1];
}

void SmartString::kaSplit(std::string_view text, char delimiter) {
  // The text may stand in one of the slots that are about to be written: one token is safe, more want a copy.
  if (text.find(delimiter) == std::string_view::npos) {
    const Marks marks = marks_of(text);
    values_[0].assign(text);
    if (marks.loose) scrub(values_[0]);
    if (marks.loose || marks.rewritten) normalize(values_[0]);
    count_ = 0;
    return;
  }
  const std::string copy(text);
  TokenWalk walk(copy, delimiter);
  std::int16_t slot = 0;
  while (slot < kSlots - 1 && walk.next(values_[static_cast<std::size_t>(slot)])) ++slot;
  if (!walk.ended()) walk.rest(values_[static_cast<std::size_t>(slot++)]);
  count_ = static_cast<std::int16_t>(slot - 1);
}

std::string SmartString::kasubparm(std::string_view text, std::string_view delimiter, int index) {
  count_ = 0;
  const auto next = [&](std::size_t start) {
    const std::size_t found = text.find(delimiter, start - 1);
    return found == std::string_view::npos || start > text.size() ? 0 : found + 1;
  };
  std::size_t start = 1;
  std::size_t position = next(start);
  for (int i = 0; i < index; ++i) {
    start = position + delimiter.size();
    position = start == 0 ? 0 : next(start);
  }
  if (position == 0) position = text.size();
  if (position < start) raise(ErrorNumber::invalid_call, "a field of negative length");
  return std::string(text.substr(start - 1, position - start));
}

void SmartString::kaStandard() {
  standard_ = standard_form(std::span(values_).first(static_cast<std::size_t>(count_) + 1));
}

bool SmartString::isvalue(std::string_view token, bool allow_dollar) {
  return is_value(token, allow_dollar);
}

void SmartString::concat(std::string& text, int from, int to) const {
  for (int i = from; i <= to; ++i) text += values(i);
}

std::string SmartString::count() const {
  return cat({count_});
}

void SmartString::count(std::string_view text) {
  count_ = to_integer(whole_number_text(text));
}

const std::string& SmartString::values(int index) const {
  if (!is_slot(index)) raise(ErrorNumber::subscript_out_of_range, cat({"token ", index}));
  return values_[static_cast<std::size_t>(index)];
}

void SmartString::values(int index, std::string token) {
  if (!is_slot(index)) raise(ErrorNumber::subscript_out_of_range, cat({"token ", index}));
  values_[static_cast<std::size_t>(index)] = std::move(token);
}

}  // namespace tidewright
