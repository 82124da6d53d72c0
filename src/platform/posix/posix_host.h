// A POSIX machine: files through file descriptors, the desktop through xdg-open. The shell makes one of each at
// start-up; the person is reached through the terminal, which is not of this room.
#pragma once

#include "platform/host.h"

namespace tidewright {

/// The real file system. Names are case-sensitive bytes; there are no drives and no short names. Errors name the path.
class PosixFiles final : public Files {
 public:
  /// A folder cannot be opened: path_access. A file that `create` or `update` makes gets the rights of the umask.
  using Files::open;
  std::unique_ptr<File> open(const std::string& path, Access access, const std::string& called) override;

  char separator() const override { return '/'; }

  /// Raises path_not_found when the current folder has been removed.
  std::string current_folder() override;
  void change_folder(const std::string& folder) override;
  /// Always raises device_unavailable.
  void change_drive(char drive) override;

  /// Links are followed: one that leads nowhere counts as not there, here and in list().
  std::optional<Entry> find(const std::string& path) override;
  /// A name that begins with "." is hidden; an entry that its owner may not write is read-only.
  std::vector<Entry> list(const std::string& pattern, int attributes) override;

  void make_folder(const std::string& folder) override;
  /// Raises path_access when the folder is not empty.
  void remove_folder(const std::string& folder) override;
  void remove_file(const std::string& path) override;
  void replace_file(const std::string& from, const std::string& to) override;
  void sync_names(const std::string& path) override;
  std::string whole_path(const std::string& path) override;

  /// Always empty.
  std::string short_name(const std::string& path) override;
};

/// Where the running program stands. Asked once, at construction, so that replacing the program's file does not matter.
class PosixProgram final : public Program {
 public:
  /// `command` is the program's first argument; it is used where the system does not tell the program's path.
  explicit PosixProgram(const std::string& command);

  std::string folder() override { return folder_; }
  std::string name() override { return name_; }
  /// "tidewright" in XDG_STATE_HOME; where that names no whole path, in ".local/state" of the user's HOME.
  std::string state_folder() override;

 private:
  std::string folder_;
  std::string name_;
};

class PosixClock final : public Clock {
 public:
  std::tm now() override;
};

/// The desktop of the session, when there is one: without DISPLAY and WAYLAND_DISPLAY both operations do nothing. What
/// is started stands on its own: no terminal, no standard streams, not a child of the program.
class PosixDesktop final : public Desktop {
 public:
  void open_document(const std::string& path) override;
  void show_document(const std::string& path) override { open_document(path); }
  /// `command` is a line for /bin/sh.
  void start_program(const std::string& command) override;
  void edit_text(const std::string& path) override { open_document(path); }
};

}  // namespace tidewright
