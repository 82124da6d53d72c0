#include "files/names.h"

#include <algorithm>
#include <functional>

#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

constexpr std::string_view kSeparators = "\\/";

bool is_escape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && hex_digit(text[1]) >= 0 && hex_digit(text[2]) >= 0;
}

// What the tokenizer leaves of a name.
std::string as_token(std::string name) {
  normalize(name);
  scrub(name);
  make_lower(name);
  return name;
}

// The one entry that a rule fits; nothing where none or several do, for then it might be the wrong file.
std::optional<std::string> only_entry(const std::vector<Entry>& entries,
                                      const std::function<bool(const Entry&)>& fits) {
  const auto first = std::find_if(entries.begin(), entries.end(), fits);
  if (first == entries.end() || std::find_if(first + 1, entries.end(), fits) != entries.end()) return {};
  return first->name;
}

// The entry of `folder` that `part` means, or nothing.
std::optional<std::string> entry_like(Files& files, const std::string& folder, std::string_view part) {
  const std::vector<Entry> entries = files.list(joined(files, folder, "*"), kEveryAttribute);
  const std::string written = with_blanks(part);
  const std::string token = as_token(written);
  const std::string typed = lowered(part);
  const std::function<bool(const Entry&)> rules[] = {
      [&](const Entry& entry) { return entry.name == written; },
      [&](const Entry& entry) { return same_text(entry.name, part); },
      [&](const Entry& entry) { return same_text(entry.name, written); },
      [&](const Entry& entry) { return as_token(entry.name) == token || as_token(entry.name) == typed; },
  };
  for (const auto& rule : rules) {
    if (std::optional<std::string> name = only_entry(entries, rule)) return name;
  }
  return {};
}

}  // namespace

std::size_t last_separator(std::string_view path) {
  return path.find_last_of(kSeparators);
}

bool is_absolute(std::string_view path) {
  return (!path.empty() && kSeparators.find(path[0]) != std::string_view::npos) ||
         path.find(':') != std::string_view::npos;
}

std::string joined(Files& files, std::string_view folder, std::string_view name) {
  if (folder.empty()) return std::string(name);
  if (last_separator(folder) == folder.size() - 1) return cat({folder, name});
  return cat({folder, files.separator(), name});
}

std::string folder_of(const std::string& path) {
  const std::size_t separator = last_separator(path);
  if (separator == std::string::npos) return "";
  const bool root = separator == 0 || (separator == 2 && path[1] == ':');
  return path.substr(0, root ? separator + 1 : separator);
}

std::string with_ending(const std::string& path, std::string_view ending) {
  const std::size_t name = last_separator(path) + 1;
  const std::size_t dot = path.rfind('.');
  const bool has_extension = dot != std::string::npos && dot > name;
  return cat({std::string_view(path).substr(0, has_extension ? dot : path.size()), ending});
}

std::string blank_free(std::string_view name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool rewritten = c == '#' || (lower(c) == 'x' && result.ends_with('0'));
    if (c == ' ' || c == '\t' || c == '"' || rewritten || is_escape(name.substr(i))) {
      result += '%';
      result += hex_bytes(name.substr(i, 1));
    } else {
      result += c;
    }
  }
  return result;
}

std::string all_escaped(std::string_view name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) result += cat({"%", hex_bytes(name.substr(i, 1))});
  return result;
}

std::string literal_name(std::string_view path) {
  std::string result;
  for (std::size_t i = 0; i < path.size(); ++i) {
    result += path[i];
    if (is_escape(path.substr(i))) result += hex_bytes("%");
  }
  return result;
}

std::string with_blanks(std::string_view name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (is_escape(name.substr(i))) {
      result += static_cast<char>(hex_digit(name[i + 1]) << 4 | hex_digit(name[i + 2]));
      i += 2;
    } else {
      result += name[i];
    }
  }
  return result;
}

std::string actual_path(Files& files, const std::string& path) {
  if (path.empty() || files.find(path)) return path;
  const bool has_drive = path.size() > 1 && path[1] == ':';
  std::string actual(path, 0, has_drive ? 2 : 0);
  std::string_view left = std::string_view(path).substr(actual.size());
  while (!left.empty()) {
    const std::size_t end = left.find_first_of(kSeparators);
    const std::string_view part = left.substr(0, end);
    const bool known = part.empty() || part == "." || part == ".." ||
                       part.find_first_of("*?") != std::string_view::npos || files.find(actual + std::string(part));
    if (known) {
      actual += part;
    } else {
      actual += entry_like(files, actual, part).value_or(with_blanks(part));
    }
    if (end == std::string_view::npos) break;
    actual += files.separator();
    left.remove_prefix(end + 1);
  }
  return actual;
}

}  // namespace tidewright
