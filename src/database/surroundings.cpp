#include "database/surroundings.h"

#include <algorithm>

#include "base/numbers.h"
#include "base/text.h"
#include "script/smart_string.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// Characters of names that need no closer look.
bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.' || c == '$';
}

}  // namespace

std::string_view referred_name(std::string_view token, std::span<const NamedPointer> pointers) {
  if (token.size() < 2 || token[0] != '$') return {};
  std::size_t number = 0;
  for (const char c : token.substr(1)) {
    if (c < '0' || c > '9') return {};
    number = number * 10 + static_cast<std::size_t>(c - '0');
  }
  const auto found = std::lower_bound(pointers.begin(), pointers.end(), number - 1,
                                      [](const NamedPointer& p, std::size_t place) { return p.position < place; });
  return found != pointers.end() && found->position == number - 1 ? found->name : std::string_view();
}

std::string with_pointer_names(std::string_view line, std::span<const NamedPointer> pointers) {
  std::string named;
  while (true) {
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view token = line.substr(0, end);
    const std::string_view name = referred_name(token, pointers);
    named += name.empty() ? token : name;
    if (end == line.size()) return named;
    named += ' ';
    line.remove_prefix(end + 1);
  }
}

bool is_writable_name(std::string_view name) {
  if (name.empty()) return false;
  const bool plain = std::all_of(name.begin(), name.end(), is_plain);
  if (plain && name.find("0x") == std::string_view::npos) return true;
  if (name.find_first_of("\";,\r\n") != std::string_view::npos) return false;
  // Looked at as a word in the middle of a line.
  const std::string line = cat({"x ", name, " x"});
  SmartString statement;
  std::string trimmed = line;
  statement.kaTrim(trimmed);
  if (!statement.vComment().empty() || statement.values(0) != line) return false;
  TokenWalk walk(line, ' ');
  std::string word;
  return walk.next(word) && walk.next(word) && same_text(word, name) && walk.next(word) && walk.ended();
}

}  // namespace tidewright
