// FileHandle's names: the current file by parts, short forms, file choice.
#include <string>

#include "base/errors.h"
#include "base/text.h"
#include "files/file_handle.h"
#include "files/names.h"

namespace tidewright {
namespace {

enum class Part { none, full, name, folder, extension };

struct PartWord {
  std::string_view word;
  Part part;
};

constexpr PartWord kPartWords[] = {
    {"fullpath", Part::full}, {"fullname", Part::full},       {"filename", Part::name}, {"file", Part::name},
    {"name", Part::name},     {"path", Part::folder},         {"dir", Part::folder},    {"directory", Part::folder},
    {"ext", Part::extension}, {"extension", Part::extension},
};

Part part_of(std::string_view word) {
  for (const PartWord& row : kPartWords) {
    if (same_text(row.word, word)) return row.part;
  }
  return Part::none;
}

}  // namespace

std::string FileHandle::filename(std::string_view part) const {
  switch (part_of(part)) {
    case Part::full:
      if (name_.empty()) return "";
      return joined(host_.files, host_.files.current_folder(), cat({name_, ".", extension_}));
    case Part::name:
      return name_;
    case Part::folder:
      return host_.files.current_folder();
    case Part::extension:
      return extension_;
    case Part::none:
      break;
  }
  return "";
}

bool FileHandle::filename(std::string_view part, const std::string& text) {
  std::string folder = text;
  switch (part_of(part)) {
    case Part::none:
      return true;
    case Part::name:
      name_ = text;
      return true;
    case Part::extension:
      extension_ = text;
      return true;
    case Part::folder:
      return Dos("chdir", folder) != kFailedCommand;
    case Part::full:
      break;
  }
  name_.clear();
  const std::size_t separator = last_separator(text);
  const std::size_t dot = text.rfind('.');
  if (dot != std::string::npos) {
    folder.clear();
    const std::size_t start = separator == std::string::npos ? 0 : separator + 1;
    const bool in_name = separator == std::string::npos || separator < dot;
    extension_ = in_name ? text.substr(dot + 1) : "";
    // A character is always left out for the dot, so a name without one loses its last letter. Kept as it is.
    const std::size_t end = in_name ? dot : text.size() - 1;
    if (start < end) name_ = text.substr(start, end - start);
    if (separator != std::string::npos) folder = folder_of(text);
  }
  return folder.empty() || Dos("chdir", folder) != kFailedCommand;
}

std::string FileHandle::short_form(const std::string& path, const std::string& name) const {
  std::string short_name = host_.files.short_name(path);
  if (!short_name.empty() && blank_free(short_name) == short_name) return short_name;
  std::string form = blank_free(name);
  // Where another file bears this form as its name, that one would be found.
  const std::string folder = path.substr(0, last_separator(path) + 1);
  return form != name && host_.files.find(folder + form) ? all_escaped(name) : form;
}

bool FileHandle::ShrinkName(std::string& text) {
  bool dropped = false;
  while (true) {
    const std::size_t open = text.find('"');
    const std::size_t close = open == std::string::npos ? open : text.find('"', open + 1);
    if (close == std::string::npos) return dropped;
    const std::string quoted = text.substr(open + 1, close - open - 1);
    const std::string short_name = quoted_name(quoted);
    if (short_name.empty()) {
      dropped = true;
      echo_fault(cat({" - There is no file \"", quoted, "\" in the current folder"}));
    }
    text.replace(open, close - open + 1, short_name);
  }
}

// The short form, without a folder, of the first file that a quoted text names; empty when it names none. A bare name
// can only stand for a file of the current folder: for one elsewhere it might hit a namesake.
std::string FileHandle::quoted_name(const std::string& quoted) const {
  if (quoted.empty()) return "";
  const std::string path = actual_path(host_.files, quoted);
  const std::size_t separator = last_separator(path);
  if (separator != std::string::npos) {
    const std::string folder = host_.files.whole_path(folder_of(path));
    if (folder != host_.files.whole_path(host_.files.current_folder())) return "";
  }
  std::optional<Entry> found = host_.files.find(path);
  if (!found) {
    const std::vector<Entry> matches = host_.files.list(path, kReadOnly);
    if (matches.empty()) return "";
    found = matches.front();
  }
  return short_form(found->name, found->name);
}

std::string FileHandle::shortenname(const std::string& name) {
  const std::string path = actual_path(host_.files, name);
  const std::optional<Entry> found = host_.files.find(path);
  return found ? lowered(short_form(path, found->name)) : "";
}

std::string FileHandle::getfile(std::string_view mode) {
  const std::string word = lowered(mode);
  const bool saving = word.ends_with("output") || word.ends_with("write");
  flush_output();
  return host_.user.file_box(saving ? "Save file ...." : "Open file ....", saving);
}

}  // namespace tidewright
