#include "platform/win32/win32_host.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>
#include <windows.h>

#include "base/errors.h"
#include "base/text.h"
#include "platform/wildcard.h"

namespace tidewright {
namespace {

constexpr std::string_view kSeparators = "\\/";
/// The most that one call of the system is given to read or write.
constexpr std::size_t kLargestPiece = std::size_t{1} << 30;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// How often, and how many milliseconds apart, a name is tried that another program holds.
constexpr int kHeldTries = 5;
constexpr DWORD kHeldPause = 50;

/// ERROR_DISK_QUOTA_EXCEEDED, which not every header has.
constexpr DWORD kQuotaExceeded = 1295;

struct Meaning {
  DWORD error;
  ErrorNumber number;
};

// ERROR_FILE_NOT_FOUND is not here: whether a file or a folder is missing depends on what was asked for.
constexpr std::array kMeanings{
    Meaning{ERROR_PATH_NOT_FOUND, ErrorNumber::path_not_found},
    Meaning{ERROR_DIRECTORY, ErrorNumber::path_not_found},
    Meaning{ERROR_INVALID_DRIVE, ErrorNumber::path_not_found},
    Meaning{ERROR_BAD_NETPATH, ErrorNumber::path_not_found},
    Meaning{ERROR_BAD_NET_NAME, ErrorNumber::path_not_found},
    Meaning{ERROR_FILENAME_EXCED_RANGE, ErrorNumber::path_not_found},
    Meaning{ERROR_INVALID_NAME, ErrorNumber::path_access},
    Meaning{ERROR_BAD_PATHNAME, ErrorNumber::path_access},
    Meaning{ERROR_ALREADY_EXISTS, ErrorNumber::path_access},
    Meaning{ERROR_FILE_EXISTS, ErrorNumber::path_access},
    Meaning{ERROR_DIR_NOT_EMPTY, ErrorNumber::path_access},
    Meaning{ERROR_CURRENT_DIRECTORY, ErrorNumber::path_access},
    Meaning{ERROR_NOT_READY, ErrorNumber::device_unavailable},
    Meaning{ERROR_ACCESS_DENIED, ErrorNumber::permission_denied},
    Meaning{ERROR_SHARING_VIOLATION, ErrorNumber::permission_denied},
    Meaning{ERROR_LOCK_VIOLATION, ErrorNumber::permission_denied},
    Meaning{ERROR_WRITE_PROTECT, ErrorNumber::permission_denied},
    Meaning{ERROR_DISK_FULL, ErrorNumber::disk_full},
    Meaning{ERROR_HANDLE_DISK_FULL, ErrorNumber::disk_full},
    Meaning{kQuotaExceeded, ErrorNumber::disk_full},
    Meaning{ERROR_FILE_TOO_LARGE, ErrorNumber::disk_full},
};

/// The system's own words for an error, in one line.
std::string reason(DWORD error) {
  std::array<char, 512> text{};
  const DWORD size =
      ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, error, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  std::string words(text.data(), size);
  words.resize(words.find_last_not_of(" .\r\n") + 1);
  return words.empty() ? cat({"system error ", static_cast<std::int64_t>(error)}) : words;
}

/// Raises what `error` means for `path`; a missing `path` is the error `missing`.
[[noreturn]] void raise_system(DWORD error, const std::string& path,
                               ErrorNumber missing = ErrorNumber::file_not_found) {
  ErrorNumber number = error == ERROR_FILE_NOT_FOUND ? missing : ErrorNumber::device_io;
  for (const Meaning& meaning : kMeanings) {
    if (meaning.error == error) number = meaning.number;
  }
  raise(number, cat({path, " (", reason(error), ")"}));
}

/// Whether `error` only says that a path leads nowhere.
bool is_missing(DWORD error) {
  constexpr std::array kErrors{
      ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_DIRECTORY,    ERROR_INVALID_DRIVE,        ERROR_BAD_NETPATH,
      ERROR_BAD_NET_NAME,   ERROR_INVALID_NAME,   ERROR_BAD_PATHNAME, ERROR_FILENAME_EXCED_RANGE, ERROR_NOT_READY};
  return std::find(kErrors.begin(), kErrors.end(), static_cast<long>(error)) != kErrors.end();
}

/// The path for a system call. A NUL byte would cut it, and another file would be meant: raises device_io.
const char* native(const std::string& path) {
  if (path.find('\0') != std::string::npos) raise(ErrorNumber::device_io, cat({path, " (a zero byte in a name)"}));
  return path.c_str();
}

/// The text that a system call writes. The call gets room and its size; it returns the length of the text, or, when
/// the room does not do, how much it wants. Empty when the call fails.
std::string system_text(const std::function<DWORD(char*, DWORD)>& call) {
  std::string text(MAX_PATH, '\0');
  while (true) {
    const DWORD size = call(text.data(), static_cast<DWORD>(text.size()));
    if (size < text.size()) {
      text.resize(size);
      return text;
    }
    text.resize(std::max<std::size_t>(size, text.size()) + MAX_PATH);
  }
}

bool is_separator(char c) {
  return kSeparators.find(c) != std::string_view::npos;
}

bool has_drive(const std::string& path) {
  return path.size() >= 2 && path[1] == ':';
}

/// "C:\"
bool is_root(const std::string& whole) {
  return whole.size() == 3 && has_drive(whole);
}

std::string without_end_separator(std::string path) {
  while (path.size() > 1 && !is_root(path) && is_separator(path.back())) path.pop_back();
  return path;
}

/// The whole path that `path` is short for, whether or not it names something, without a separator at its end but for
/// a root; empty for an empty path.
std::string full_path(const std::string& path) {
  const char* name = native(path);
  return without_end_separator(
      system_text([name](char* room, DWORD size) { return ::GetFullPathNameA(name, size, room, nullptr); }));
}

std::string last_part(const std::string& whole) {
  return is_root(whole) ? whole : whole.substr(whole.find_last_of(kSeparators) + 1);
}

DWORD attributes_of(const std::string& path) {
  return ::GetFileAttributesA(native(path));
}

bool is_folder(const std::string& path) {
  const DWORD attributes = attributes_of(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int known_attributes(DWORD attributes) {
  return static_cast<int>(attributes) & (kReadOnly | kHidden | kSystem | kDirectory);
}

/// Refuses what no file can be made or found by: a path that asks for a folder, by a separator at its end; and, for
/// writing, a read-only file. The system would only deny the access.
void refuse(const std::string& path, const std::string& called, bool writing) {
  const DWORD attributes = attributes_of(without_end_separator(path));
  const bool missing = attributes == INVALID_FILE_ATTRIBUTES;
  if (writing && !missing && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
      (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    raise(ErrorNumber::permission_denied, cat({called, " (read-only)"}));
  }
  if (path.empty() || !is_separator(path.back())) return;
  const DWORD error = missing ? ::GetLastError() : ERROR_DIRECTORY;
  if (missing && writing && error == ERROR_FILE_NOT_FOUND) raise_system(ERROR_INVALID_NAME, called);
  if (missing || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) raise_system(error, called);
}

/// The same as raise_system for a call on a file: the system denies access to a folder, as if that were one of rights.
[[noreturn]] void raise_file_error(DWORD error, const std::string& path, const std::string& called) {
  if (error == ERROR_ACCESS_DENIED && is_folder(path)) raise(ErrorNumber::path_access, cat({called, " (a folder)"}));
  raise_system(error, called);
}

class Win32File final : public File {
 public:
  Win32File(HANDLE handle, std::string path, bool writable)
      : handle_(handle), path_(std::move(path)), writable_(writable) {}
  ~Win32File() override {
    if (handle_ != nullptr) ::CloseHandle(handle_);
  }
  Win32File(const Win32File&) = delete;
  Win32File& operator=(const Win32File&) = delete;

  std::size_t read(char* data, std::size_t size) override {
    DWORD count = 0;
    if (::ReadFile(handle_, data, piece(size), &count, nullptr) == 0) {
      const DWORD error = ::GetLastError();
      if (error != ERROR_HANDLE_EOF && error != ERROR_BROKEN_PIPE) raise_system(error, path_);
    }
    return count;
  }

  std::size_t write(std::string_view data) override {
    // The system calls this a denied access, which would be one of rights.
    if (!writable_) raise(ErrorNumber::device_io, cat({path_, " (only open for reading)"}));
    DWORD count = 0;
    if (::WriteFile(handle_, data.data(), piece(data.size()), &count, nullptr) == 0) {
      raise_system(::GetLastError(), path_);
    }
    // A device that takes nothing and reports nothing would keep the caller's loop running for ever.
    if (count == 0 && !data.empty()) raise_system(ERROR_WRITE_FAULT, path_);
    return count;
  }

  void seek(std::int64_t position) override {
    LARGE_INTEGER distance{};
    distance.QuadPart = position;
    if (::SetFilePointerEx(handle_, distance, nullptr, FILE_BEGIN) == 0) raise_system(::GetLastError(), path_);
  }

  std::int64_t length() override {
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(handle_, &size) == 0) raise_system(::GetLastError(), path_);
    return size.QuadPart;
  }

  void cut(std::int64_t length) override {
    seek(length);
    if (::SetEndOfFile(handle_) == 0) raise_system(::GetLastError(), path_);
  }

  void sync() override {
    if (::FlushFileBuffers(handle_) == 0) raise_system(::GetLastError(), path_);
  }

  bool lock() override {
    // A lock keeps others from the bytes it covers: this one covers a byte that no file has.
    OVERLAPPED place{};
    place.OffsetHigh = 0x7FFFFFFF;
    constexpr DWORD kAtOnce = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    return ::LockFileEx(handle_, kAtOnce, 0, 1, 0, &place) != 0 || ::GetLastError() != ERROR_LOCK_VIOLATION;
  }

  void close() override {
    if (handle_ == nullptr) return;
    if (::CloseHandle(std::exchange(handle_, nullptr)) == 0) raise_system(::GetLastError(), path_);
  }

  /// Cuts the file to nothing.
  void clear() {
    if (::SetEndOfFile(handle_) == 0) raise_system(::GetLastError(), path_);
  }

 private:
  static DWORD piece(std::size_t size) { return static_cast<DWORD>(std::min(size, kLargestPiece)); }

  HANDLE handle_;  // null once closed
  std::string path_;
  bool writable_;
};

/// A handle of the system, closed by `close` when it goes out of scope.
class Handle {
 public:
  Handle(HANDLE handle, BOOL(WINAPI* close)(HANDLE)) : handle_(handle), close_(close) {}
  ~Handle() {
    if (is_open()) close_(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
  BOOL(WINAPI* close_)(HANDLE);
};

/// The name of an entry. A "?" in it stands for what the code page cannot write; by its short form it can be found.
std::string name_of(const WIN32_FIND_DATAA& data) {
  const std::string name = data.cFileName;
  return name.find('?') != std::string::npos && data.cAlternateFileName[0] != '\0' ? data.cAlternateFileName : name;
}

/// Remembers the current folder as that of its drive, where the system's own path calls look for it.
void remember_current_folder() {
  const std::string folder = Win32Files().current_folder();
  if (has_drive(folder)) ::SetEnvironmentVariableA(cat({"=", upper(folder[0]), ":"}).c_str(), folder.c_str());
}

void open_as(const std::string& path, int state) {
  if (path.find('\0') != std::string::npos) return;
  ::ShellExecuteA(nullptr, "open", path.c_str(), nullptr, nullptr, state);
}

}  // namespace

std::unique_ptr<File> Win32Files::open(const std::string& path, Access access, const std::string& called) {
  const char* name = native(path);
  const bool writing = access != Access::read;
  refuse(path, called, writing);
  const HANDLE handle =
      ::CreateFileA(name, writing ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, writing ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) raise_file_error(::GetLastError(), path, called);
  auto file = std::make_unique<Win32File>(handle, called, writing);
  // Devices and pipes have no end, no length and no place to go back to.
  if (::GetFileType(handle) != FILE_TYPE_DISK) {
    raise(ErrorNumber::path_access, cat({called, " (not a file but a device or a pipe)"}));
  }
  if (access == Access::create) file->clear();
  return file;
}

std::string Win32Files::current_folder() {
  const std::string folder = system_text([](char* room, DWORD size) { return ::GetCurrentDirectoryA(size, room); });
  if (folder.empty()) raise_system(::GetLastError(), ".", ErrorNumber::path_not_found);
  return without_end_separator(folder);
}

void Win32Files::change_folder(const std::string& folder) {
  const std::string whole = full_path(folder);
  const std::string here = current_folder();
  if (has_drive(whole) && upper(whole[0]) != upper(here[0])) {
    const DWORD attributes = attributes_of(whole);
    if (attributes == INVALID_FILE_ATTRIBUTES) raise_system(::GetLastError(), folder, ErrorNumber::path_not_found);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) raise_system(ERROR_DIRECTORY, folder);
    ::SetEnvironmentVariableA(cat({"=", upper(whole[0]), ":"}).c_str(), whole.c_str());
    return;
  }
  if (whole.empty()) raise_system(ERROR_PATH_NOT_FOUND, folder);
  if (::SetCurrentDirectoryA(whole.c_str()) == 0) {
    raise_system(::GetLastError(), folder, ErrorNumber::path_not_found);
  }
  remember_current_folder();
}

void Win32Files::change_drive(char drive) {
  const std::string name = cat({upper(drive), ":"});
  const std::string root = name + "\\";
  const bool is_letter = upper(drive) >= 'A' && upper(drive) <= 'Z';
  if (!is_letter || ::GetDriveTypeA(root.c_str()) == DRIVE_NO_ROOT_DIR) raise(ErrorNumber::device_unavailable, name);
  remember_current_folder();
  if (::SetCurrentDirectoryA(full_path(name).c_str()) == 0 && ::SetCurrentDirectoryA(root.c_str()) == 0) {
    raise(ErrorNumber::device_unavailable, cat({name, " (", reason(::GetLastError()), ")"}));
  }
  remember_current_folder();
}

std::optional<Entry> Win32Files::find(const std::string& path) {
  // The search of the system takes more than "*" and "?" for wildcards.
  if (path.empty() || path.find_first_of("*?<>\"|") != std::string::npos) return std::nullopt;
  const std::string whole = full_path(path);
  const bool folder_wanted = is_separator(path.back());
  WIN32_FIND_DATAA data{};
  DWORD attributes = 0;
  std::string name;
  const Handle search(::FindFirstFileA(whole.c_str(), &data), ::FindClose);
  if (search.is_open()) {
    attributes = data.dwFileAttributes;
    name = name_of(data);
  } else {
    // A root is in no folder where it could be found.
    attributes = attributes_of(whole);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
      if (is_missing(::GetLastError())) return std::nullopt;
      raise_system(::GetLastError(), path);
    }
    name = last_part(whole);
  }
  if (folder_wanted && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return std::nullopt;
  return Entry{name, known_attributes(attributes)};
}

std::vector<Entry> Win32Files::list(const std::string& pattern, int attributes) {
  const std::size_t cut = pattern.find_last_of("\\/:") + 1;
  const std::string folder = pattern.substr(0, cut);
  const std::string wanted = pattern.substr(cut);
  WIN32_FIND_DATAA data{};
  const Handle search(::FindFirstFileA(native(folder + "*"), &data), ::FindClose);
  if (!search.is_open()) {
    if (is_missing(::GetLastError())) return {};
    raise_system(::GetLastError(), folder.empty() ? "." : folder);
  }
  std::vector<Entry> entries;
  do {
    const std::string name = name_of(data);
    if (name == "." || name == "..") continue;
    // A pattern without wildcards names an entry as any path does, so its short form will do.
    if (!matches(wanted, name) && !same_text(wanted, data.cAlternateFileName)) continue;
    const int found = known_attributes(data.dwFileAttributes);
    if ((found & (kHidden | kSystem | kDirectory) & ~attributes) == 0) entries.push_back({name, found});
  } while (::FindNextFileA(search.get(), &data) != 0);
  if (::GetLastError() != ERROR_NO_MORE_FILES) raise_system(::GetLastError(), folder.empty() ? "." : folder);
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return std::lexicographical_compare(a.name.begin(), a.name.end(), b.name.begin(), b.name.end(),
                                        [](char c, char d) { return upper(c) < upper(d); });
  });
  return entries;
}

void Win32Files::make_folder(const std::string& folder) {
  if (::CreateDirectoryA(native(folder), nullptr) == 0) {
    raise_system(::GetLastError(), folder, ErrorNumber::path_not_found);
  }
}

void Win32Files::remove_folder(const std::string& folder) {
  if (::RemoveDirectoryA(native(folder)) != 0) return;
  const DWORD error = ::GetLastError();
  // Some program stands in it.
  if (error == ERROR_SHARING_VIOLATION) raise(ErrorNumber::path_access, cat({folder, " (", reason(error), ")"}));
  raise_system(error, folder, ErrorNumber::path_not_found);
}

void Win32Files::remove_file(const std::string& path) {
  refuse(path, path, false);
  if (::DeleteFileA(native(path)) == 0) raise_file_error(::GetLastError(), path, path);
}

void Win32Files::replace_file(const std::string& from, const std::string& to) {
  refuse(to, to, true);
  // Virus scanners and search indexes hold a file for a moment when it has just been written. The system reports that
  // as a violation for the one file, and as a denied access for the other.
  for (int tries = 1; ::MoveFileExA(native(from), native(to), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0;
       ++tries) {
    const DWORD error = ::GetLastError();
    const bool may_pass = error == ERROR_SHARING_VIOLATION || (error == ERROR_ACCESS_DENIED && !is_folder(to));
    if (!may_pass || tries == kHeldTries) raise_file_error(error, to, to);
    ::Sleep(kHeldPause);
  }
}

std::string Win32Files::whole_path(const std::string& path) {
  const Handle handle(
      ::CreateFileA(native(path), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr),
      ::CloseHandle);
  std::string whole;
  if (handle.is_open()) {
    whole = system_text(
        [&](char* room, DWORD size) { return ::GetFinalPathNameByHandleA(handle.get(), room, size, VOLUME_NAME_DOS); });
  }
  constexpr std::string_view kPlain = "\\\\?\\";
  constexpr std::string_view kNetwork = "\\\\?\\UNC\\";
  if (whole.starts_with(kNetwork)) {
    whole.replace(0, kNetwork.size(), "\\\\");
  } else if (whole.starts_with(kPlain)) {
    whole.erase(0, kPlain.size());
  }
  // Neither an own name that the code page cannot write nor a drive without one leads anywhere.
  if (!whole.empty() && whole.find('?') == std::string::npos) return whole;
  return attributes_of(path) == INVALID_FILE_ATTRIBUTES ? path : full_path(path);
}

std::string Win32Files::short_name(const std::string& path) {
  const char* name = native(path);
  return system_text([name](char* room, DWORD size) { return ::GetShortPathNameA(name, room, size); });
}

Win32Program::Win32Program() {
  const std::string path =
      system_text([](char* room, DWORD size) { return ::GetModuleFileNameA(nullptr, room, size); });
  folder_ = path.substr(0, path.find_last_of(kSeparators));
  if (folder_.size() == 2) folder_ += '\\';
  name_ = last_part(path);
  const std::size_t dot = name_.rfind('.');
  if (dot != std::string::npos && dot > 0) name_.resize(dot);
}

std::string Win32Program::state_folder() {
  const std::string local =
      system_text([](char* room, DWORD size) { return ::GetEnvironmentVariableA("LOCALAPPDATA", room, size); });
  return local.empty() ? local : local + "\\Tidewright";
}

std::tm Win32Clock::now() {
  const std::time_t seconds = std::time(nullptr);
  std::tm local{};
  ::localtime_s(&local, &seconds);
  return local;
}

void Win32Desktop::open_document(const std::string& path) {
  open_as(path, SW_FORCEMINIMIZE);
}

void Win32Desktop::show_document(const std::string& path) {
  open_as(path, SW_SHOWNORMAL);
}

void Win32Desktop::start_program(const std::string& command) {
  std::string line = command.substr(0, command.find('\0'));
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  // It gets none of our handles, and Ctrl-C in our console is not for it.
  constexpr DWORD kApart = CREATE_NEW_PROCESS_GROUP;
  if (::CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, kApart, nullptr, nullptr, &start, &process) ==
      0) {
    return;
  }
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
}

}  // namespace tidewright
