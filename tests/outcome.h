// What tests of every room share: errors as numbers, cases as one text.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "base/errors.h"

namespace tidewright {

/// The number of the error that `action` raises, 0 for none.
inline int error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const RuntimeError& error) {
    return static_cast<int>(error.number);
  }
  return 0;
}

/// What `action` returns, or "error" and the number of what it raises.
inline std::string outcome(const std::function<std::string()>& action) {
  std::string text;
  const int error = error_of([&] { text = action(); });
  return error == 0 ? text : "error " + std::to_string(error);
}

/// A case "what -> wanted", cut in two.
inline std::pair<std::string, std::string> cut(const std::string& row) {
  const std::size_t arrow = row.find(" -> ");
  return {row.substr(0, arrow), row.substr(arrow + 4)};
}

}  // namespace tidewright
