// A Windows machine, through the Win32 API alone: no file of the C run-time, whose text mode would change bytes. All
// texts and names are in the system's single-byte code page. The shell makes one of each at start-up; the person is
// reached through win32_user.h or through the terminal.
#pragma once

#include "platform/host.h"

namespace tidewright {

/// The real file system. Names keep their letter case, which does not count; "\\" and "/" both separate. Errors name
/// the path and give the system's reason.
class Win32Files final : public Files {
 public:
  /// A folder cannot be opened: path_access. Others may read and write a file that is open here, but neither remove nor
  /// rename it.
  using Files::open;
  std::unique_ptr<File> open(const std::string& path, Access access, const std::string& called) override;

  char separator() const override { return '\\'; }

  std::string current_folder() override;
  /// A folder of another drive becomes that drive's current folder; the current drive stays.
  void change_folder(const std::string& folder) override;
  /// Goes to the drive's own current folder, or to its root when that is gone. Raises device_unavailable.
  void change_drive(char drive) override;

  std::optional<Entry> find(const std::string& path) override;
  /// A name that the code page cannot write is given in its short form, if it has one. A pattern without wildcards may
  /// be a short form.
  std::vector<Entry> list(const std::string& pattern, int attributes) override;

  void make_folder(const std::string& folder) override;
  /// Raises path_access when the folder is not empty or is some program's current one.
  void remove_folder(const std::string& folder) override;
  /// A file that is open or read-only stays: permission_denied. The same holds for both files that are replaced.
  void remove_file(const std::string& path) override;
  void replace_file(const std::string& from, const std::string& to) override;
  /// Nothing: replace_file() and sync() of a new file wait for its name, too.
  void sync_names(const std::string& /*path*/) override {}
  std::string whole_path(const std::string& path) override;

  /// The path in the shape that was given, each of its names in short form as far as the drive keeps short forms.
  std::string short_name(const std::string& path) override;
};

/// Where the running program stands. Asked once, at construction.
class Win32Program final : public Program {
 public:
  Win32Program();

  std::string folder() override { return folder_; }
  std::string name() override { return name_; }
  /// "Tidewright" in the user's LOCALAPPDATA.
  std::string state_folder() override;

 private:
  std::string folder_;
  std::string name_;
};

class Win32Clock final : public Clock {
 public:
  std::tm now() override;
};

/// The desktop. What is started stands on its own.
class Win32Desktop final : public Desktop {
 public:
  void open_document(const std::string& path) override;
  void show_document(const std::string& path) override;
  /// `command` is a command line: a program, with or without its folder, and what it is given.
  void start_program(const std::string& command) override;
  void edit_text(const std::string& path) override { start_program("notepad.exe " + path); }
};

}  // namespace tidewright
