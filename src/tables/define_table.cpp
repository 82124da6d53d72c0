#include "tables/define_table.h"

#include "base/errors.h"
#include "base/text.h"

namespace tidewright {

void DefineTable::add(std::string_view name, std::string_view value) {
  // A loop is closed by its last definition, so looking here, at each one, leaves none for the look-up to fall into.
  const std::string* const end = find(value);
  if (same_text(value, name) || (end != nullptr && same_text(*end, name))) {
    raise(ErrorNumber::invalid_call, cat({"the define ", name, " would stand for itself"}));
  }
  values_.add(std::string(name), std::string(value));
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

std::string DefineTable::replace(std::string line) const {
  if (empty()) return line;
  for (std::size_t start = 0; start < line.size();) {
    std::size_t end = line.find(' ', start);
    if (end == std::string::npos) end = line.size();
    if (const std::string* const value = find(std::string_view(line).substr(start, end - start))) {
      line.replace(start, end - start, *value);
      end = start + value->size();
    }
    start = end + 1;
  }
  return line;
}

}  // namespace tidewright
