// A machine that lives in memory, for tests: files and folders by the rules of a POSIX or of a Windows system, faults
// on demand, a person who answers from a list, a clock that stands still.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/errors.h"
#include "platform/host.h"

namespace tidewright {

/// Whose rules the paths follow. posix: "/", case-sensitive. windows: drives, "\\" and "/", case-blind but
/// case-preserving, 8.3 short names; network paths are not known.
enum class PathStyle { posix, windows };

/// One file or folder. An open file keeps its node when it is removed, as on a POSIX machine.
struct MemoryNode {
  std::string name;
  std::string short_name;  // empty in the posix style
  int attributes = kNormal;
  std::string bytes;
  std::string on_disk;  // what would survive a loss of power: the bytes at the last sync()
};

/// What happens at the change that no longer succeeds: it alone fails, it and all behind it fail (device_io), or the
/// machine stops: MachineStopped is thrown, and no file changes any more.
enum class Breakdown { passes, lasts, stops };

/// No error that the program knows: as if it had been killed there.
struct MachineStopped {};

/// What is made to fail. Paths are keys of the tree; a denied folder denies all that is in it.
struct MemoryFaults {
  std::optional<std::size_t> room;            // bytes that can still be written
  std::optional<std::size_t> most_per_write;  // bytes
  std::set<std::string> denied;
  std::set<std::string> write_denied;
  std::set<std::string> unreadable;
  std::set<std::string> locked;
  std::optional<std::size_t> steps;  // changes of files that still succeed
  Breakdown then = Breakdown::lasts;
  bool broken = false;  // the first that did not

  /// Asked before each change (writing, cutting, making, replacing, removing a file, waiting for the disk). False
  /// when it must not take place. Raises the fault that is due.
  bool happens(const std::string& path);
};

/// The file system. The files it opens must not outlive it.
class MemoryFiles final : public Files {
 public:
  explicit MemoryFiles(PathStyle style);
  MemoryFiles(const MemoryFiles&) = delete;
  MemoryFiles& operator=(const MemoryFiles&) = delete;

  using Files::open;
  std::unique_ptr<File> open(const std::string& path, Access access, const std::string& called) override;
  char separator() const override { return windows_ ? '\\' : '/'; }
  std::string current_folder() override;
  /// In the windows style a folder of another drive becomes that drive's; the current drive stays.
  void change_folder(const std::string& folder) override;
  void change_drive(char drive) override;
  std::optional<Entry> find(const std::string& path) override;
  std::vector<Entry> list(const std::string& pattern, int attributes) override;
  void make_folder(const std::string& folder) override;
  void remove_folder(const std::string& folder) override;
  /// In the windows style a file that is open or read-only cannot be removed: permission_denied.
  void remove_file(const std::string& path) override;
  /// The same holds for both files that are replaced.
  void replace_file(const std::string& from, const std::string& to) override;
  void sync_names(const std::string& path) override {
    if (faults_.happens(path)) keep_names();
  }
  std::string whole_path(const std::string& path) override;
  /// The path in the shape that was given, each of its names in short form.
  std::string short_name(const std::string& path) override;

  // What MemoryMachine offers under the same names.
  void add_drive(char drive);
  void add_folder(const std::string& path);
  void add_file(const std::string& path, std::string_view bytes);
  const MemoryNode& file(const std::string& path) const;
  bool exists(const std::string& path) const;
  void set_attributes(const std::string& path, int attributes);
  /// In the posix style only.
  void lose_power(std::mt19937& chance);
  MemoryFaults& faults() { return faults_; }
  /// The form of `path` by which faults are kept.
  std::string fault_key(const std::string& path) const;

 private:
  struct Place {
    std::string whole;           // from the root on, in long names as far as they exist
    bool folder_wanted = false;  // a separator stands at the end
  };

  bool is_separator(char c) const { return c == '/' || (windows_ && c == '\\'); }
  std::string key(std::string_view whole) const;
  std::string root(char drive) const;
  std::string current(char drive) const;
  std::string parent(const std::string& whole) const;
  std::string last_part(const std::string& whole) const;
  std::string join(const std::string& folder, const std::string& name) const;

  Place locate(const std::string& path) const;
  std::string step(const std::string& whole, const std::string& part) const;
  std::string long_name(const std::string& folder, const std::string& name) const;

  MemoryNode* at(const std::string& whole) const;
  MemoryNode* existing(const Place& place) const;
  bool is_folder(const std::string& whole) const;
  std::vector<const MemoryNode*> children(const std::string& folder) const;
  int attributes_of(const MemoryNode& node) const;
  MemoryNode& insert(const std::string& whole, int attributes);
  std::string free_short_name(const std::string& folder, const std::string& name) const;

  bool is_listed(const std::set<std::string>& keys, std::string whole) const;
  void refuse_denied(const Place& place, const std::string& path) const;
  std::string removable(const Place& place, const std::string& path) const;
  [[noreturn]] void raise_missing(const Place& place, const std::string& path, ErrorNumber missing) const;

  // In the windows style who holds a node has the file open.
  void keep_names() {
    if (!windows_) nodes_on_disk_ = nodes_;
  }

  bool windows_;
  char drive_;                           // the current one; NUL in the posix style
  std::map<char, std::string> current_;  // by drive, once a folder of it was entered
  std::map<std::string, std::shared_ptr<MemoryNode>> nodes_;
  std::map<std::string, std::shared_ptr<MemoryNode>> nodes_on_disk_;  // at the last sync_names()
  MemoryFaults faults_;
};

class MemoryProgram final : public Program {
 public:
  explicit MemoryProgram(PathStyle style) : folder_(style == PathStyle::windows ? "C:\\tidewright" : "/tidewright") {}
  std::string folder() override { return folder_; }
  std::string name() override { return "tidewright"; }
  std::string state_folder() override { return {}; }

 private:
  std::string folder_;
};

/// Stands at 2026-11-15 16:01:00 until it is set.
class MemoryClock final : public Clock {
 public:
  MemoryClock() { set(2026, 11, 15, 16, 1, 0); }
  std::tm now() override { return now_; }
  /// `month` and `day` count from 1; the day of the week and of the year follow from them.
  void set(int year, int month, int day, int hour, int minute, int second);

 private:
  std::tm now_{};
};

/// Keeps what it was asked for, oldest first.
class MemoryDesktop final : public Desktop {
 public:
  void open_document(const std::string& path) override { opened.push_back(path); }
  void show_document(const std::string& path) override { opened.push_back(path); }
  void start_program(const std::string& command) override { started.push_back(command); }
  void edit_text(const std::string& path) override { started.push_back("notepad.exe " + path); }

  std::vector<std::string> opened;
  std::vector<std::string> started;
};

/// Keys as they are written, in order; on a machine of the Windows style only.
class MemoryRegistry final : public Registry {
 public:
  explicit MemoryRegistry(bool available) : available_(available) {}
  bool available() override { return available_; }
  std::optional<std::string> text(const std::string& key, const std::string& name) override;
  void text(const std::string& key, const std::string& name, const std::string& text) override;
  bool has(const std::string& key) override;
  std::vector<std::string> below(const std::string& key) override;
  void remove_text(const std::string& key, const std::string& name) override;
  void remove(const std::string& key) override;
  void announce() override {}

  /// Every text, as "key: name = text" in lines.
  std::string all() const;

 private:
  bool available_;
  std::map<std::string, std::map<std::string, std::string>> keys_;
};

/// One box that was shown. `text` is empty for a file box, `title` for the boxes that are given none.
struct MemoryBox {
  enum class Kind { critical, notice, message, yes_no, input, open_file, save_file };
  Kind kind;
  std::string title;
  std::string text;
};

/// A person who answers from queues; once a queue is empty the answer is No, or the box is cancelled.
class MemoryUser final : public User {
 public:
  void critical_box(const std::string& text) override { show(MemoryBox::Kind::critical, "", text); }
  void notice_box(const std::string& text) override { show(MemoryBox::Kind::notice, "", text); }
  void message_box(const std::string& text) override { show(MemoryBox::Kind::message, "", text); }
  bool yes_no_box(const std::string& text, const std::string& title) override;
  std::string input_box(const std::string& prompt, const std::string& title) override;
  std::string file_box(const std::string& title, bool saving) override;

  std::vector<MemoryBox> boxes;
  std::deque<bool> yes_no_answers;
  std::deque<std::string> input_answers;
  std::deque<std::string> file_answers;

 private:
  void show(MemoryBox::Kind kind, const std::string& title, const std::string& text);
};

/// The machine: all interfaces, and what a test wants to prepare, break and look at. posix starts in "/desk";
/// windows has the drives C: and D: and starts in "C:\\desk". The program's folder is there.
class MemoryMachine {
 public:
  using Style = PathStyle;

  explicit MemoryMachine(Style style) : files_(style), program_(style), registry_(style == Style::windows) {}
  MemoryMachine(const MemoryMachine&) = delete;
  MemoryMachine& operator=(const MemoryMachine&) = delete;

  /// References into this machine, which must outlive them.
  Host host() { return {files_, program_, clock_, desktop_, registry_, user_}; }
  MemoryFiles& files() { return files_; }
  MemoryClock& clock() { return clock_; }
  MemoryDesktop& desktop() { return desktop_; }
  MemoryRegistry& registry() { return registry_; }
  MemoryUser& user() { return user_; }

  // Preparing and looking. No fault and no attribute hinders these; a mistake of the test is a std::logic_error.

  /// Only in the windows style.
  void add_drive(char drive) { files_.add_drive(drive); }
  /// Makes the folder and those above it, as far as they are missing.
  void add_folder(const std::string& path) { files_.add_folder(path); }
  /// Makes the file and the folders above it, or gives an existing file new content.
  void add_file(const std::string& path, std::string_view bytes) { files_.add_file(path, bytes); }
  /// The content of the file.
  std::string bytes(const std::string& path) const { return files_.file(path).bytes; }
  /// Whether there is such a file or folder.
  bool exists(const std::string& path) const { return files_.exists(path); }
  /// Sets the attributes but for kDirectory. In the posix style only kReadOnly counts: "." at the start of its name
  /// hides a file there.
  void set_attributes(const std::string& path, int attributes) { files_.set_attributes(path, attributes); }

  // Faults. Paths need not exist yet.

  /// `room` more bytes fit on the machine. The write that crosses it writes what fits, the next raises disk_full.
  /// nullopt: no limit.
  void disk_full_after(std::optional<std::size_t> room) { files_.faults().room = room; }
  /// Every write takes at most `most` bytes (1 or more). nullopt: no limit.
  void short_writes(std::optional<std::size_t> most) { files_.faults().most_per_write = most; }
  /// Opening, making, removing, replacing, entering or listing `path`, or anything in it, raises permission_denied.
  void deny(const std::string& path, bool on = true) { turn(files_.faults().denied, path, on); }
  /// Opening `path`, or anything in it, for create or update raises permission_denied.
  void deny_writing(const std::string& path, bool on = true) { turn(files_.faults().write_denied, path, on); }
  /// `count` more changes of files succeed; see Breakdown for what comes then. nullopt: all succeed again.
  void break_after(std::optional<std::size_t> count, Breakdown then = Breakdown::lasts) {
    files_.faults().steps = count;
    files_.faults().then = then;
    files_.faults().broken = false;
  }
  /// Whether a change failed so, since then.
  bool broke() { return files_.faults().broken; }
  /// What the program did not wait for (File::sync, Files::sync_names) may be lost: all names that changed, or none; of
  /// each file any part. What a test prepared stays.
  void lose_power(std::mt19937& chance) { files_.lose_power(chance); }
  /// Whether another program has taken this file.
  void lock(const std::string& path, bool on = true) { turn(files_.faults().locked, path, on); }
  /// Reading from this file raises device_io, also when it is open already.
  void fail_reads(const std::string& path, bool on = true) { turn(files_.faults().unreadable, path, on); }

 private:
  void turn(std::set<std::string>& keys, const std::string& path, bool on);

  MemoryFiles files_;
  MemoryProgram program_;
  MemoryClock clock_;
  MemoryDesktop desktop_;
  MemoryRegistry registry_;
  MemoryUser user_;
};

}  // namespace tidewright
