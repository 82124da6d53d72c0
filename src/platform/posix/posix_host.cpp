#include "platform/posix/posix_host.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/errors.h"
#include "base/text.h"
#include "platform/wildcard.h"

namespace tidewright {
namespace {

constexpr mode_t kFileMode = 0666;
constexpr mode_t kFolderMode = 0777;

struct ErrnoMeaning {
  int error;
  ErrorNumber number;
};

// ENOENT is not here: whether a file or a folder is missing depends on what was asked for.
constexpr std::array kErrnoMeanings{
    ErrnoMeaning{ENOTDIR, ErrorNumber::path_not_found},  ErrnoMeaning{EACCES, ErrorNumber::permission_denied},
    ErrnoMeaning{EPERM, ErrorNumber::permission_denied}, ErrnoMeaning{EROFS, ErrorNumber::permission_denied},
    ErrnoMeaning{ENOSPC, ErrorNumber::disk_full},        ErrnoMeaning{EDQUOT, ErrorNumber::disk_full},
    ErrnoMeaning{EFBIG, ErrorNumber::disk_full},         ErrnoMeaning{EISDIR, ErrorNumber::path_access},
    ErrnoMeaning{EEXIST, ErrorNumber::path_access},      ErrnoMeaning{ENOTEMPTY, ErrorNumber::path_access},
};

/// Raises what `error` means for `path`; a missing `path` is the error `missing`.
[[noreturn]] void raise_errno(int error, const std::string& path, ErrorNumber missing = ErrorNumber::file_not_found) {
  ErrorNumber number = error == ENOENT ? missing : ErrorNumber::device_io;
  for (const ErrnoMeaning& meaning : kErrnoMeanings) {
    if (meaning.error == error) number = meaning.number;
  }
  raise(number, cat({path, " (", std::generic_category().message(error), ")"}));
}

/// The path for a system call. A NUL byte would cut it, and another file would be meant: raises device_io.
const char* native(const std::string& path) {
  if (path.find('\0') != std::string::npos) raise_errno(EINVAL, path);
  return path.c_str();
}

class PosixFile final : public File {
 public:
  PosixFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
  ~PosixFile() override {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::size_t read(char* data, std::size_t size) override {
    ssize_t count = 0;
    do count = ::read(descriptor_, data, size);
    while (count < 0 && errno == EINTR);
    if (count < 0) raise_errno(errno, path_);
    return static_cast<std::size_t>(count);
  }

  std::size_t write(std::string_view data) override {
    ssize_t count = 0;
    do count = ::write(descriptor_, data.data(), data.size());
    while (count < 0 && errno == EINTR);
    if (count < 0) raise_errno(errno, path_);
    // A device that takes nothing and reports nothing would keep the caller's loop running for ever.
    if (count == 0 && !data.empty()) raise_errno(EIO, path_);
    return static_cast<std::size_t>(count);
  }

  void seek(std::int64_t position) override {
    if (::lseek(descriptor_, position, SEEK_SET) < 0) raise_errno(errno, path_);
  }

  std::int64_t length() override {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) raise_errno(errno, path_);
    return status.st_size;
  }

  void cut(std::int64_t length) override {
    if (::ftruncate(descriptor_, length) != 0) raise_errno(errno, path_);
  }

  void sync() override {
    if (::fsync(descriptor_) != 0) raise_errno(errno, path_);
  }

  // Every other failure means that files of this kind, or on this file system, cannot be locked.
  bool lock() override { return ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

  void close() override {
    if (descriptor_ < 0) return;
    // The descriptor is gone even when closing fails, so it is never tried twice.
    const int descriptor = std::exchange(descriptor_, -1);
    if (::close(descriptor) != 0 && errno != EINTR) raise_errno(errno, path_);
  }

 private:
  int descriptor_;
  std::string path_;
};

int open_flags(Access access) {
  switch (access) {
    case Access::create:
      return O_RDWR | O_CREAT | O_TRUNC;
    case Access::update:
      return O_RDWR | O_CREAT;
    case Access::read:
      break;
  }
  return O_RDONLY;
}

/// The last part of `path`; a separator at its end does not count.
std::string last_part(const std::string& path) {
  const std::size_t end = path.find_last_not_of('/');
  if (end == std::string::npos) return "/";
  const std::size_t start = path.find_last_of('/', end) + 1;
  return path.substr(start, end + 1 - start);
}

int attributes_of(const std::string& name, const struct stat& status) {
  int attributes = kNormal;
  if (name.front() == '.' && name != "." && name != "..") attributes |= kHidden;
  if ((status.st_mode & S_IWUSR) == 0) attributes |= kReadOnly;
  if (S_ISDIR(status.st_mode)) attributes |= kDirectory;
  return attributes;
}

struct CloseFolder {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

/// The path of the running program.
std::string program_path(const std::string& command) {
  std::array<char, 4096> target{};
  const ssize_t size = ::readlink("/proc/self/exe", target.data(), target.size());
  if (size > 0 && static_cast<std::size_t>(size) < target.size()) {
    return {target.data(), static_cast<std::size_t>(size)};
  }
  if (command.starts_with('/')) return command;
  return cat({PosixFiles().current_folder(), "/", command});
}

/// What the environment says under this name, if it is a path from the root on; else empty.
std::string whole_path_of(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : "";
}

bool has_desktop() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

/// Becomes the program `words`, as a grandchild of the process that forked: init, not that process, collects it.
[[noreturn]] void become(char* const* words) {
  // Out of the terminal's reach: Ctrl-C there is for the program, not for what it opened.
  ::setsid();
  if (::fork() != 0) ::_exit(0);
  const int null = ::open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(null, stream);
  if (null > STDERR_FILENO) ::close(null);
  if (null >= 0) ::execvp(words[0], words);
  ::_exit(127);
}

void start_detached(std::vector<std::string> words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) become(pointers.data());
  // The child ends at once; only collecting it is waited for.
  while (child > 0 && ::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

std::unique_ptr<File> PosixFiles::open(const std::string& path, Access access, const std::string& called) {
  const char* name = native(path);
  int descriptor = -1;
  // Without O_NONBLOCK opening a pipe would wait for somebody at its other end; files do not mind.
  do descriptor = ::open(name, open_flags(access) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kFileMode);
  while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) raise_errno(errno, called);
  auto file = std::make_unique<PosixFile>(descriptor, called);
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) raise_errno(errno, called);
  if (S_ISDIR(status.st_mode)) raise_errno(EISDIR, called);
  // Devices and pipes have no end, no length and no place to go back to.
  if (!S_ISREG(status.st_mode)) raise(ErrorNumber::path_access, cat({called, " (not a file but a device or a pipe)"}));
  return file;
}

std::string PosixFiles::current_folder() {
  const std::unique_ptr<char, decltype(&std::free)> folder(::getcwd(nullptr, 0), &std::free);
  if (!folder) raise_errno(errno, ".", ErrorNumber::path_not_found);
  return folder.get();
}

void PosixFiles::change_folder(const std::string& folder) {
  if (::chdir(native(folder)) != 0) raise_errno(errno, folder, ErrorNumber::path_not_found);
}

void PosixFiles::change_drive(char drive) {
  raise(ErrorNumber::device_unavailable, cat({drive, ":"}));
}

std::optional<Entry> PosixFiles::find(const std::string& path) {
  struct stat status {};
  if (::stat(native(path), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG) return std::nullopt;
    raise_errno(errno, path);
  }
  const std::string name = last_part(path);
  return Entry{name, attributes_of(name, status)};
}

std::vector<Entry> PosixFiles::list(const std::string& pattern, int attributes) {
  const std::size_t cut = pattern.rfind('/');
  const std::string folder = cut == std::string::npos ? "." : cut == 0 ? "/" : pattern.substr(0, cut);
  const std::string wanted = pattern.substr(cut == std::string::npos ? 0 : cut + 1);
  const std::unique_ptr<DIR, CloseFolder> stream(::opendir(native(folder)));
  if (!stream) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    raise_errno(errno, folder);
  }
  std::vector<Entry> entries;
  errno = 0;
  for (const dirent* item = nullptr; (item = ::readdir(stream.get())) != nullptr; errno = 0) {
    const std::string name = item->d_name;
    if (name == "." || name == ".." || !matches(wanted, name)) continue;
    struct stat status {};
    if (::fstatat(::dirfd(stream.get()), item->d_name, &status, 0) != 0) {
      if (errno == ENOENT || errno == ELOOP) continue;  // a link that leads nowhere, or removed meanwhile
      raise_errno(errno, cat({folder, "/", name}));
    }
    const int found = attributes_of(name, status);
    if ((found & (kHidden | kSystem | kDirectory) & ~attributes) == 0) entries.push_back({name, found});
  }
  if (errno != 0) raise_errno(errno, folder);
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

void PosixFiles::make_folder(const std::string& folder) {
  if (::mkdir(native(folder), kFolderMode) != 0) raise_errno(errno, folder, ErrorNumber::path_not_found);
}

void PosixFiles::remove_folder(const std::string& folder) {
  if (::rmdir(native(folder)) != 0) raise_errno(errno, folder, ErrorNumber::path_not_found);
}

void PosixFiles::remove_file(const std::string& path) {
  if (::unlink(native(path)) != 0) raise_errno(errno, path);
}

void PosixFiles::replace_file(const std::string& from, const std::string& to) {
  // A device or a pipe is not there to be replaced.
  struct stat status {};
  if (::lstat(native(to), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    raise(ErrorNumber::path_access, to);
  }
  if (::rename(native(from), native(to)) != 0) raise_errno(errno, to);
}

void PosixFiles::sync_names(const std::string& path) {
  const std::size_t cut = path.rfind('/');
  const std::string folder = cut == std::string::npos ? "." : path.substr(0, cut + 1);
  const int descriptor = ::open(native(folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;  // a folder that may be written, but not read
  const bool failed = ::fsync(descriptor) != 0 && errno == EIO;
  ::close(descriptor);
  if (failed) raise_errno(EIO, path);
}

std::string PosixFiles::whole_path(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> whole(::realpath(native(path), nullptr), &std::free);
  return whole != nullptr ? whole.get() : path;
}

std::string PosixFiles::short_name(const std::string&) {
  return {};
}

PosixProgram::PosixProgram(const std::string& command) {
  const std::string path = program_path(command);
  folder_ = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
  name_ = last_part(path);
  const std::size_t dot = name_.rfind('.');
  if (dot != std::string::npos && dot > 0) name_.resize(dot);
}

std::string PosixProgram::state_folder() {
  const std::string state = whole_path_of("XDG_STATE_HOME");
  if (!state.empty()) return state + "/tidewright";
  const std::string home = whole_path_of("HOME");
  return home.empty() ? home : home + "/.local/state/tidewright";
}

std::tm PosixClock::now() {
  const std::time_t seconds = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return local;
}

void PosixDesktop::open_document(const std::string& path) {
  // A name such as "-v.txt" must not be taken for an option.
  if (has_desktop()) start_detached({"xdg-open", path.starts_with('-') ? cat({"./", path}) : path});
}

void PosixDesktop::start_program(const std::string& command) {
  if (has_desktop()) start_detached({"/bin/sh", "-c", command});
}

}  // namespace tidewright
