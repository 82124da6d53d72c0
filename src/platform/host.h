// The machine as the program sees it. Everything that the program wants of the platform goes through these interfaces;
// posix/ implements them for a real machine, memory/ for tests. Nothing outside platform/ knows which one it has.
//
// Paths are texts in the platform's own form. Any operation here raises a RuntimeError when the platform refuses: 53
// file not found, 57 device I/O, 61 disk full, 68 no such drive, 70 permission denied, 75/76 path errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

enum class Access {
  read,    // an existing file
  create,  // made, or cut to nothing when it is there
  update,  // read and written in place; made when it is not there
};

/// One open file. Positions and lengths are bytes from the start, 0-based. Closed when it goes out of scope.
class File {
 public:
  virtual ~File() = default;

  /// Reads up to `size` bytes at the position and moves it; 0 at the end of the file.
  virtual std::size_t read(char* data, std::size_t size) = 0;
  /// Writes at the position and moves it. May write less than it was given (never 0 bytes of a non-empty text).
  virtual std::size_t write(std::string_view data) = 0;
  virtual void seek(std::int64_t position) = 0;
  virtual std::int64_t length() = 0;
  /// Makes the file end at `length`, which must not lie beyond its end. The position may stand anywhere then.
  virtual void cut(std::int64_t length) = 0;
  /// Waits until all that was written, and the file's length, is on the disk and would survive a loss of power.
  virtual void sync() = 0;
  /// Takes the file for this program until it is closed; false when another program has taken it. Who does not ask can
  /// read and write the file all the same. True also where the platform cannot tell.
  virtual bool lock() = 0;
  /// Closes the file and raises what went wrong with it. Any later call is a fault of the caller.
  virtual void close() = 0;
};

/// Attributes of a directory entry, as bits.
enum Attribute : int {
  kNormal = 0,
  kReadOnly = 1,
  kHidden = 2,
  kSystem = 4,
  kVolume = 8,
  kDirectory = 16,
  kEveryAttribute = 31,
};

struct Entry {
  std::string name;
  int attributes = kNormal;
};

/// Files and folders by name.
class Files {
 public:
  virtual ~Files() = default;

  /// Errors of opening and of the file opened call it `called`.
  virtual std::unique_ptr<File> open(const std::string& path, Access access, const std::string& called) = 0;
  std::unique_ptr<File> open(const std::string& path, Access access) { return open(path, access, path); }

  /// '\\' or '/': what stands between folders in the paths that the program composes.
  virtual char separator() const = 0;

  /// The current folder, whole, without a separator at its end but for a root.
  virtual std::string current_folder() = 0;
  virtual void change_folder(const std::string& folder) = 0;
  /// Makes `drive`, a letter, the current drive.
  virtual void change_drive(char drive) = 0;

  /// What exactly this path names, without wildcards; nothing when there is no such file or folder.
  virtual std::optional<Entry> find(const std::string& path) = 0;
  /// The entries, sorted by name, that match the last part of `pattern` ("*" and "?" are wildcards, "*.*" is
  /// everything, letter case does not count). Hidden, system and folder entries only when `attributes` names them. "."
  /// and ".." are left out. A folder that is not there has no entries.
  virtual std::vector<Entry> list(const std::string& pattern, int attributes) = 0;

  virtual void make_folder(const std::string& folder) = 0;
  virtual void remove_folder(const std::string& folder) = 0;
  virtual void remove_file(const std::string& path) = 0;
  /// Gives the file `from` the name `to`, in one step: whoever looks finds what bore that name before, or the new file.
  /// Errors name `to`.
  virtual void replace_file(const std::string& from, const std::string& to) = 0;
  /// Waits until the names of the files in the folder of `path` are on the disk, as far as the platform can.
  virtual void sync_names(const std::string& path) = 0;

  /// The one whole form of the path of an existing file or folder, without ".", ".." and links; `path` itself when it
  /// names nothing. Two paths of one file have the same.
  virtual std::string whole_path(const std::string& path) = 0;

  /// The platform's short form of an existing name; empty when it has none or nothing has that name.
  virtual std::string short_name(const std::string& path) = 0;
};

/// The program itself: where it stands and what it is called, without its extension.
class Program {
 public:
  virtual ~Program() = default;
  virtual std::string folder() = 0;
  virtual std::string name() = 0;
  /// Where the program keeps what it writes for this user when its own folder cannot be written. The folder and those
  /// above it may be missing. Empty where there is none.
  virtual std::string state_folder() = 0;
};

class Clock {
 public:
  virtual ~Clock() = default;
  /// The local date and time.
  virtual std::tm now() = 0;
};

/// The desktop. Nothing here is waited for, and failure is silent.
class Desktop {
 public:
  virtual ~Desktop() = default;
  /// Opens a document with its own program, out of the way: its window is minimised, where there is such a thing.
  virtual void open_document(const std::string& path) = 0;
  /// The same in front, for a person who wants to read it now.
  virtual void show_document(const std::string& path) = 0;
  virtual void start_program(const std::string& command) = 0;
  /// Opens a text in the platform's plain editor.
  virtual void edit_text(const std::string& path) = 0;
};

/// The person. A box returns once it is answered; where nobody can be asked, a choice counts as cancelled.
class User {
 public:
  virtual ~User() = default;
  virtual void critical_box(const std::string& text) = 0;
  virtual void notice_box(const std::string& text) = 0;
  virtual void message_box(const std::string& text) = 0;
  virtual bool yes_no_box(const std::string& text, const std::string& title) = 0;
  /// The text typed; empty when cancelled.
  virtual std::string input_box(const std::string& prompt, const std::string& title) = 0;
  /// The full name of the file chosen; empty when cancelled. `saving` asks for a file to write.
  virtual std::string file_box(const std::string& title, bool saving) = 0;
};

/// The user's part of the tree in which the desktop keeps which program opens which files: keys
/// ("Software\\Classes\\.psc") with named texts; the name of a key's own text is empty. Only some platforms have one:
/// elsewhere it holds nothing.
class Registry {
 public:
  virtual ~Registry() = default;
  virtual bool available() = 0;
  /// The text; nothing when the key or the name is not there.
  virtual std::optional<std::string> text(const std::string& key, const std::string& name) = 0;
  /// Makes the key where it is missing.
  virtual void text(const std::string& key, const std::string& name, const std::string& text) = 0;
  /// Whether there is such a key.
  virtual bool has(const std::string& key) = 0;
  /// The names of the keys right below this one, sorted.
  virtual std::vector<std::string> below(const std::string& key) = 0;
  /// Takes out one text; the key with all below it. Nothing happens where it is not there.
  virtual void remove_text(const std::string& key, const std::string& name) = 0;
  virtual void remove(const std::string& key) = 0;
  /// Tells the desktop that file types have changed.
  virtual void announce() = 0;
};

/// A platform's that has none.
class NoRegistry : public Registry {
 public:
  bool available() override { return false; }
  std::optional<std::string> text(const std::string&, const std::string&) override { return {}; }
  void text(const std::string&, const std::string&, const std::string&) override {}
  bool has(const std::string&) override { return false; }
  std::vector<std::string> below(const std::string&) override { return {}; }
  void remove_text(const std::string&, const std::string&) override {}
  void remove(const std::string&) override {}
  void announce() override {}
};

/// One machine: its interfaces together.
struct Host {
  Files& files;
  Program& program;
  Clock& clock;
  Desktop& desktop;
  Registry& registry;
  User& user;
};

}  // namespace tidewright
