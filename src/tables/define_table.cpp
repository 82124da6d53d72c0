#include "tables/define_table.h"

#include "base/errors.h"
#include "base/text.h"

namespace tidewright {

void DefineTable::add(std::string_view name, std::string_view value) {
  // A loop is closed by its last definition, so looking here, at each one, leaves none for the look-up to
  // fall into.
  const std::string* const end = find(value);
  if (same_text(value, name) || (end != nullptr && same_text(*end, name))) {
    raise(ErrorNumber::invalid_call, cat({"the define ", name, " would stand for itself"}));
  }
  values_.add(name, std::string(value));
}

const std::string* DefineTable::find(std::string_view name) const {
  const std::string* found = values_.find(name);
  const std::string* end = found;
  while (found != nullptr) {
    end = found;
    found = values_.find(*found);
  }
  return end;
}

std::string DefineTable::replace(std::string_view line) const {
  std::string result;
  result.reserve(line.size());
  while (true) {
    const std::size_t blank = line.find(' ');
    const std::string_view token = line.substr(0, blank);
    const std::string* const value = find(token);
    result += value == nullptr ? token : std::string_view(*value);
    if (blank == std::string_view::npos) return result;
    result += ' ';
    line.remove_prefix(blank + 1);
  }
}

}  // namespace tidewright
