// Names that stand for values. The "define" directive fills it; every code line passes through it before encoding.
#pragma once

#include <string>
#include <string_view>

#include "base/collection.h"

namespace tidewright {

class DefineTable {
 public:
  /// Makes `name` stand for `value`, which may itself be a defined name. Letter case of names does not count. Raises
  /// DuplicateKey for a name already defined, InvalidCall where the names would come back to themselves.
  void add(std::string_view name, std::string_view value);

  /// What `name` stands for, followed to the last definition; null when it is not defined.
  const std::string* find(std::string_view name) const;

  bool empty() const { return values_.count() == 0; }

  /// `line` with every blank-separated token that is a defined name replaced by its value. Nothing inside a token is
  /// ever replaced.
  std::string replace(std::string line) const;

 private:
  Collection<std::string> values_;
};

}  // namespace tidewright
