// FileHandle: the session's door to the console, the session log, the user and every file. One for the whole run.
//
// Its operations stand in four files: echo.cpp (messages, log, boxes), file_handle.cpp (typed access to nested files),
// paths.cpp (names and the current file), dos.cpp (the console's file-system commands).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "base/text.h"
#include "files/data_file.h"
#include "files/instant.h"
#include "platform/host.h"

namespace tidewright {

/// What getdata reads and putdata writes: a text or a number.
using FieldValue = std::variant<std::string, double>;

class FileHandle {
 public:
  /// The session log is file 1; data files are 2 to 16, numbered by their nesting level.
  static constexpr int kLogFile = 1;
  static constexpr int kLastFile = 16;

  /// What stands before the length of a "string" field, and the longest text that putdata takes: lengths and counters
  /// of fields are 16-bit signed numbers.
  static constexpr std::uint8_t kStringTag = 8;
  static constexpr std::size_t kLongestPut = 32767;

  /// What Dos reports of a command that failed.
  static constexpr std::string_view kFailedCommand = "Invalid path or filename";

  /// Makes `log_folder` if it is missing and opens the session log in it. Raises what opening the log raises.
  FileHandle(const Host& host, const std::string& log_folder);
  ~FileHandle();
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  const Host& host() const { return host_; }

  // ---- echo.cpp: messages ----

  /// From now on messages reach the console, too.
  void attach(Instant& console) { console_ = &console; }
  Instant* console() { return console_; }

  /// Shows a line on the console, while it is visible, and writes it to the log: behind one "|" for each open data
  /// file, and behind `indent` blanks and "- " when `indent` is above 0. `underline` adds a line of "-", one shorter
  /// than the text. An empty text is nothing at all. Never raises.
  void echo(std::string_view text, bool underline = false, int indent = 0);

  /// The same for a line in pieces, which must not all be empty.
  void echo(std::initializer_list<Piece> pieces);

  /// An echo line that tells of a fault: the run counts as troubled.
  void echo_fault(std::string_view text);

  /// Whether any fault was told so far: an error, a notice, a critical or a message box.
  bool troubled() const { return troubled_; }

  /// How far the work on the current file is: "main.psc:1204, 45 of 120 KB, 3600 messages"; empty when none is open.
  std::string standing();

  /// Empties the console. The log is untouched.
  void cls();

  /// The boxes. Log and console are brought up to date before the user is asked.
  void critical_box(const std::string& text);
  void notice_box(const std::string& text);
  void message_box(const std::string& text);
  bool yes_no_box(const std::string& text, const std::string& title);
  std::string input_box(const std::string& prompt, const std::string& title);

  /// Brings log and console up to date; called whenever control returns to the user. Never raises.
  void flush_output();

  // ---- file_handle.cpp: typed access ----

  /// Opens a file as the new current one. `mode`: "input" and "output" are text files read and written line by line,
  /// "read" and "write" are binary files read and written in place; letter case does not count, and an "old:" before it
  /// is taken off. An existing file is opened for "output" or "write" only when the user, asked because `confirm` is
  /// set, agreed to its deletion. With `confirm`, what is written takes the place of the old file when closefile()
  /// closes it, whole; until then, and after an error, the old one stays. An empty `name` asks for a file; `name` is
  /// replaced by the name found or chosen. Returns the name, an empty text when nothing was opened, "False" for an
  /// unknown mode (the level is raised all the same). Raises SubscriptOutOfRange for a 17th level, FileAlreadyOpen, and
  /// what opening raises; the level stays then.
  std::string OpenFile(std::string& name, std::string& mode, bool confirm = false);

  /// Closes the current data file and reports it; nothing happens when there is none. Raises SubscriptOutOfRange after
  /// closing level 16, whose report would want a 17th counter, and what writing or replacing raises; it is closed then.
  void closefile();

  /// Closes all data files without a report and without raising. One that was to replace another is removed.
  void close_all();

  /// Nesting level: the number of the current file, 1 while only the log is open.
  int level() const { return level_; }

  /// The 16-bit line counter of the current level. It counts reads and lines run, not physical lines.
  std::int16_t lineno() const { return line_counters_[static_cast<std::size_t>(level_)]; }
  void lineno(std::int16_t value) { line_counters_[static_cast<std::size_t>(level_)] = value; }

  /// "main.psc:12" for the line last read from the current file, with the files that include it; empty when none is
  /// open.
  std::string location() const;

  /// Reads a field of the current file: "line"; "value" (free format, up to a comma or line end); "byte"/"char" (1
  /// byte), "int"/"integer"/"word" (2, signed), "long"/"double" (4, signed), all little-endian; "string" (2-byte tag,
  /// 2-byte length, bytes); "block:N" (N bytes, 1000 when N is missing or 0); "megablock" and any other word read
  /// nothing. Counts in lineno. Bytes beyond the end read as zero; a "line" there raises InputPastEnd.
  FieldValue getdata(std::string_view type);

  /// getdata("line") into a text that the caller uses again.
  void getline(std::string& line);

  /// Writes a field in the form getdata reads. Raises Overflow for a number outside its width, a "string" above 32767
  /// bytes and a "block" above 32767 bytes. "value", "megablock" and unknown words write nothing.
  void putdata(std::string_view type, const FieldValue& value);

  /// Reads `size` bytes as "block" does, zeros beyond the end, and does not count in lineno.
  std::string getblock(std::size_t size) { return data_file().read(size); }

  /// putdata("block", bytes).
  void putblock(std::string_view bytes);

  /// Moves to the 0-based byte `offset`. A negative one is echoed and moves nothing. Raises Overflow for 2147483647.
  void SeekData(std::int32_t offset);
  std::int32_t fPos();
  /// The same beyond the 32-bit range.
  std::int64_t position() { return data_file().position(); }
  /// The file's length beyond that range, 0 while only the log is open.
  std::int64_t length() { return level_ > kLogFile ? data_file().length() : 0; }
  std::int32_t fLen();
  bool ENDOF();

  /// The current file itself. Raises BadFileNumber while only the log is open.
  DataFile& data_file();

  // ---- paths.cpp: names and the current file ----

  /// The current file by parts: "fullpath"/"fullname", "filename"/"file"/"name" (without folder and extension),
  /// "path"/"dir"/"directory" (the current folder), "ext"/"extension" (without dot). Writing a full path also makes its
  /// folder the current one; writing a path changes the current folder. False when that folder cannot be reached.
  std::string filename(std::string_view part) const;
  bool filename(std::string_view part, const std::string& text);

  /// Rewrites each quoted text of a directive as a short form without blanks of the file it names. One that names
  /// nothing is dropped, and told. Returns whether any was dropped.
  bool ShrinkName(std::string& text);

  /// The short form of an existing name, lower-cased: the platform's own, or the blank-free one; empty when it names
  /// nothing.
  std::string shortenname(const std::string& name);

  /// Asks the user for a file to open or save, as `mode` suggests; empty when cancelled.
  std::string getfile(std::string_view mode);

  // ---- dos.cpp ----

  /// The file-system commands "dir", "cd"/"chdir", "delete", "rmdir", "mkdir" and "shell" (letter case does not count).
  /// Returns the report; kFailedCommand when one fails. "dir" puts the pattern it used into an empty
  /// `argument` and separates its entries by NUL characters.
  std::string Dos(std::string_view command, std::string& argument);

 private:
  bool exist(std::string& name, bool writing, bool confirm);
  bool look_up(std::string& name);
  void open_current(const std::string& name, const std::string& mode, bool replacing);
  void open_beside(const std::string& path, bool readable);
  void finish(std::optional<DataFile>& file);
  void discard(std::optional<DataFile>& file);
  std::string whole_name(const std::string& path) const;
  std::string whole_path(const std::string& path) const;
  void refuse_open_twice(const std::string& path, bool writing) const;
  std::string quoted_name(const std::string& quoted) const;
  std::string short_form(const std::string& path, const std::string& name) const;
  void write_log(std::initializer_list<Piece> pieces);
  int lowest_free_number() const;

  std::string dir(std::string& argument);
  std::string change_folder(const std::string& argument);
  std::string delete_files(const std::string& argument);
  std::string remove_folder(const std::string& argument);
  std::string make_folder(const std::string& argument);

  Host host_;
  Instant* console_ = nullptr;
  bool troubled_ = false;
  std::int64_t messages_ = 0;  // in the log
  std::string line_;           // of an echo in pieces; kept for its memory

  std::int16_t level_ = 0;
  std::array<std::optional<DataFile>, kLastFile + 1> files_;  // by file number; 0 is never used
  std::array<std::int16_t, kLastFile + 1> line_counters_{};

  std::string name_;
  std::string extension_;
};

}  // namespace tidewright
