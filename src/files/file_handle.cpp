#include "files/file_handle.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "files/names.h"

namespace tidewright {
namespace {

constexpr std::size_t kDefaultBlock = 1000;

enum class Field { none, line, value, byte, integer, long_integer, string, block };

struct TypeWord {
  std::string_view word;
  Field field;
};

constexpr TypeWord kTypeWords[] = {
    {"line", Field::line},           {"value", Field::value},
    {"byte", Field::byte},           {"char", Field::byte},
    {"int", Field::integer},         {"integer", Field::integer},
    {"word", Field::integer},        {"long", Field::long_integer},
    {"double", Field::long_integer},  // wanted: a "double" field is a 32-bit integer, never a float
    {"string", Field::string},       {"block", Field::block},
};

Field field_of(std::string_view type) {
  const std::string_view word = type.substr(0, type.find(':'));
  const auto* const found = std::find_if(std::begin(kTypeWords), std::end(kTypeWords),
                                         [&](const TypeWord& t) { return same_text(t.word, word); });
  return found == std::end(kTypeWords) ? Field::none : found->field;
}

std::size_t block_size(std::string_view type) {
  const std::size_t colon = type.find(':');
  const std::int32_t size = colon == std::string_view::npos ? 0 : to_long(Val(type.substr(colon + 1)));
  if (size < 0) raise(ErrorNumber::invalid_call, type);
  return size == 0 ? kDefaultBlock : static_cast<std::size_t>(size);
}

// The bytes as an unsigned number.
std::uint32_t little_endian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

FieldValue number(std::int32_t value) {
  return static_cast<double>(value);
}

std::string little_endian_bytes(std::uint32_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 255);
  return bytes;
}

std::string text_of(const FieldValue& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) return *text;
  const double wanted = std::get<double>(value);
  const auto whole = static_cast<std::int64_t>(wanted);
  return static_cast<double>(whole) == wanted ? cat({whole}) : std::to_string(wanted);
}

double number_of(const FieldValue& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) return whole_number_text(*text);
  return std::get<double>(value);
}

// One field of free-format input: blanks before it do not count; it ends at a comma or a line end, which is taken
// along; in double quotes it may hold both.
FieldValue read_value(DataFile& file) {
  while (file.peek() == ' ' || file.peek() == '\t') file.get();
  std::string text;
  const bool quoted = file.peek() == '"';
  if (quoted) {
    file.get();
    for (int c = file.get(); c >= 0 && c != '"'; c = file.get()) text += static_cast<char>(c);
  }
  int c = file.get();
  for (; c >= 0 && c != ',' && c != '\r' && c != '\n'; c = file.get()) {
    if (!quoted) text += static_cast<char>(c);
  }
  if (c == '\r' && file.peek() == '\n') file.get();
  const NumberPrefix prefix = quoted ? NumberPrefix{} : number_prefix(text);
  if (prefix.length > 0 && text.find_first_not_of(' ', prefix.length) == std::string::npos) return prefix.value;
  return text;
}

}  // namespace

std::string FileHandle::OpenFile(std::string& name, std::string& mode, bool confirm) {
  const std::string word = lowered(mode);
  const bool writing = word == "output" || word == "write" || word == "old:output" || word == "old:write";
  if (name.empty()) {
    name = getfile(mode);
  } else {
    const bool exists = exist(name, writing, confirm);
    if (writing && exists) return "";
    if (!writing && !exists) {
      message_box("File Not Found or user cancel");
      const std::string place = location();
      echo({" - There is no file ", name, place.empty() ? "" : ", wanted by ", place});
      return "";
    }
  }
  if (name.empty()) return "";
  if (word.starts_with("old:")) mode.erase(0, 4);
  if (level_ == kLastFile) raise(ErrorNumber::subscript_out_of_range, cat({"too many files are open to open ", name}));
  ++level_;
  lineno(0);
  try {
    echo(cat({"#PROCESS: ", name, " F:", level_, " for ", mode}), true);
    open_current(name, lowered(mode), confirm);
  } catch (...) {
    --level_;
    throw;
  }
  // An unknown mode opens nothing, yet its level stays raised. Kept: it is what callers are told by "False".
  return files_[static_cast<std::size_t>(level_)] ? name : "False";
}

void FileHandle::open_current(const std::string& name, const std::string& mode, bool replacing) {
  const bool in_place = mode == "read" || mode == "write";
  if (mode != "input" && mode != "output" && !in_place) return;
  const std::string path = actual_path(host_.files, name);
  refuse_open_twice(path, mode != "input");
  if (replacing && (mode == "output" || mode == "write")) return open_beside(path, mode == "write");
  std::optional<DataFile>& slot = files_[static_cast<std::size_t>(level_)];
  const auto open_as = [&](Access access, bool readable, bool writable) {
    std::unique_ptr<File> file = host_.files.open(path, access);
    slot.emplace(std::move(file), path, whole_path(path), readable, writable);
  };
  if (mode == "input") {
    open_as(Access::read, true, false);
  } else if (mode == "output") {
    open_as(Access::create, false, true);
  } else {
    try {
      open_as(Access::update, true, true);
    } catch (const RuntimeError& error) {
      if (error.number != ErrorNumber::permission_denied) throw;
      // What may only be read can still be decoded; writing to it raises the error then.
      open_as(Access::read, true, false);
    }
  }
}

// Opens the file that is to bear the name `path`, under a name beside it.
void FileHandle::open_beside(const std::string& path, bool readable) {
  const std::string target = whole_name(path);
  const std::optional<Entry> old = host_.files.find(target);
  // What can never be replaced is refused now, not when all is written.
  if (target.back() == host_.files.separator() || (old && (old->attributes & kDirectory) != 0)) {
    raise(ErrorNumber::path_access, path);
  }
  std::string temporary = target + ".part";
  for (int number = 2; host_.files.find(temporary); ++number) temporary = cat({target, ".part", number});
  std::unique_ptr<File> file = host_.files.open(temporary, Access::create, path);
  std::optional<DataFile>& slot = files_[static_cast<std::size_t>(level_)];
  slot.emplace(std::move(file), path, whole_path(path), readable, true);
  slot->beside = {std::move(temporary), target};
}

// The whole path under which a file of this name is made: its folder's whole path and the name. The current folder may
// be another one when the file is closed.
std::string FileHandle::whole_name(const std::string& path) const {
  const bool in_drive = path.size() >= 2 && path[1] == ':';
  const std::size_t start = std::max(last_separator(path) + 1, static_cast<std::size_t>(in_drive ? 2 : 0));
  const std::string folder = start == 0 ? "." : path.substr(0, start);
  return joined(host_.files, host_.files.whole_path(folder), path.substr(start));
}

// The one whole form of a path, also of a file that is not there yet.
std::string FileHandle::whole_path(const std::string& path) const {
  return host_.files.find(path) ? host_.files.whole_path(path) : whole_name(path);
}

void FileHandle::refuse_open_twice(const std::string& path, bool writing) const {
  const std::string whole = whole_path(path);
  for (std::size_t number = kLogFile; number <= kLastFile; ++number) {
    const std::optional<DataFile>& file = files_[number];
    if (file && file->whole_path() == whole && (writing || file->writable())) {
      raise(ErrorNumber::file_already_open, path);
    }
  }
}

// Whether the file exists, as OpenFile wants to know it: a file to be written that the user agrees to delete does not.
// It is there until the new one is whole.
bool FileHandle::exist(std::string& name, bool writing, bool confirm) {
  bool found = look_up(name);
  if (!found && !is_absolute(name)) {
    std::string shipped = joined(host_.files, host_.program.folder(), name);
    found = look_up(shipped);
    if (found) name = shipped;
  }
  if (!found || !writing || !confirm) return found;
  return !yes_no_box("File Exists. Delete?", "Delete File");
}

// Puts the name of the first file that `name`, maybe with wildcards, matches in the place of its last part.
bool FileHandle::look_up(std::string& name) {
  const std::string path = actual_path(host_.files, name);
  std::optional<Entry> found = host_.files.find(path);
  if (!found) {
    const std::vector<Entry> matches = host_.files.list(path, kReadOnly);
    if (!matches.empty()) found = matches.front();
  }
  if (!found || (found->attributes & kDirectory) != 0) return false;
  name.replace(last_separator(name) + 1, std::string::npos, found->name);
  return true;
}

void FileHandle::closefile() {
  if (level_ <= kLogFile) return;
  std::optional<DataFile> file = std::move(files_[static_cast<std::size_t>(level_)]);
  files_[static_cast<std::size_t>(level_)].reset();
  const auto above = static_cast<std::size_t>(level_) + 1;
  --level_;
  if (file) finish(file);
  echo("|");
  // The line counter above the closed level is reported, not the closed level's own. Kept: logs are compared across
  // versions. Level 16 has no counter above it.
  if (above > kLastFile) raise(ErrorNumber::subscript_out_of_range, "files are nested too deep");
  echo({"\\- Processed ", line_counters_[above], " Lines"});
  echo(" ");
}

// Closes a file; one that stands beside its target takes its place, or is removed when anything of it is missing.
void FileHandle::finish(std::optional<DataFile>& file) {
  if (!file->beside) return file->close();
  try {
    file->close();
    if (file->lost_bytes()) raise(ErrorNumber::device_io, cat({file->name(), " was not written whole"}));
    host_.files.replace_file(file->beside->temporary, file->beside->target);
  } catch (...) {
    discard(file);
    throw;
  }
}

// Closes a file that stands beside its target, and removes it.
void FileHandle::discard(std::optional<DataFile>& file) {
  const std::string temporary = std::move(file->beside->temporary);
  file.reset();
  try {
    host_.files.remove_file(temporary);
  } catch (const RuntimeError&) {
    // The failure that led here is what the user is told.
  }
}

void FileHandle::close_all() {
  for (; level_ > kLogFile; --level_) {
    std::optional<DataFile>& file = files_[static_cast<std::size_t>(level_)];
    try {
      if (file && file->beside) discard(file);
      if (file) file->close();
    } catch (const RuntimeError&) {
      // Only called because something failed already; that is what the user is told.
    }
    file.reset();
  }
}

std::string FileHandle::location() const {
  std::string text;
  for (auto number = static_cast<std::size_t>(level_); number > kLogFile; --number) {
    const std::optional<DataFile>& file = files_[number];
    if (!file || file->lines_read() == 0) continue;
    if (!text.empty()) text += ", included from ";
    text += cat({file->name(), ":", file->lines_read()});
  }
  return text;
}

DataFile& FileHandle::data_file() {
  std::optional<DataFile>& file = files_[static_cast<std::size_t>(level_)];
  if (level_ <= kLogFile || !file) raise(ErrorNumber::bad_file_number, "no data file is open");
  return *file;
}

void FileHandle::getline(std::string& line) {
  data_file().read_line(line);
  lineno(checked_add(lineno(), 1));
}

FieldValue FileHandle::getdata(std::string_view type) {
  DataFile& file = data_file();
  FieldValue value;
  switch (field_of(type)) {
    case Field::none:
      break;
    case Field::line:
      file.read_line(std::get<std::string>(value));
      break;
    case Field::value:
      value = read_value(file);
      break;
    case Field::byte:
      value = number(static_cast<std::uint8_t>(little_endian(file.read(1))));
      break;
    case Field::integer:
      value = number(static_cast<std::int16_t>(little_endian(file.read(2))));
      break;
    case Field::long_integer:
      value = number(static_cast<std::int32_t>(little_endian(file.read(4))));
      break;
    case Field::string:
      file.read(2);
      value = file.read(little_endian(file.read(2)));
      break;
    case Field::block:
      value = file.read(block_size(type));
      break;
  }
  lineno(checked_add(lineno(), 1));
  return value;
}

void FileHandle::putblock(std::string_view bytes) {
  if (bytes.size() > kLongestPut) raise(ErrorNumber::overflow, cat({"a block of ", bytes.size(), " bytes"}));
  data_file().write(bytes);
}

void FileHandle::putdata(std::string_view type, const FieldValue& value) {
  DataFile& file = data_file();
  switch (field_of(type)) {
    case Field::none:
    case Field::value:
      break;
    case Field::line:
      file.write(text_of(value));
      file.write(kLineEnd);
      break;
    case Field::byte:
      file.write(little_endian_bytes(to_byte(number_of(value)), 1));
      break;
    case Field::integer:
      file.write(little_endian_bytes(static_cast<std::uint32_t>(to_integer(number_of(value))), 2));
      break;
    case Field::long_integer:
      file.write(little_endian_bytes(static_cast<std::uint32_t>(to_long(number_of(value))), 4));
      break;
    case Field::string: {
      const std::string text = text_of(value);
      if (text.size() > kLongestPut) raise(ErrorNumber::overflow, cat({"a string of ", text.size(), " bytes"}));
      file.write(little_endian_bytes(kStringTag, 2));
      file.write(little_endian_bytes(static_cast<std::uint32_t>(text.size()), 2));
      file.write(text);
      break;
    }
    case Field::block:
      putblock(text_of(value));
      break;
  }
}

void FileHandle::SeekData(std::int32_t offset) {
  if (offset < 0) {
    echo({"Invalid Offsett 0x", hex(offset)});
    return;
  }
  if (offset == INT32_MAX) raise(ErrorNumber::overflow, "the file position 2147483647");
  data_file().seek(offset);
}

std::int32_t FileHandle::fPos() {
  return to_long(static_cast<double>(data_file().position()));
}
std::int32_t FileHandle::fLen() {
  return to_long(static_cast<double>(data_file().length()));
}
bool FileHandle::ENDOF() {
  return data_file().at_end();
}

}  // namespace tidewright
