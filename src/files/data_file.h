// One open file of FileHandle: a platform file with a buffer before it, and the text lines and fields read from it.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"
#include "platform/host.h"

namespace tidewright {

/// Buffered access to a platform file: runs of bytes read or written one after another reach the platform in large
/// pieces. Positions are bytes from the start, 0-based. Everything here raises what the platform raises. Bytes written
/// reach it with flush(), close(), a seek elsewhere or a full buffer; those not yet there are lost when one of these
/// fails, so that nothing is ever written twice, and the position is then behind the last byte that arrived.
class DataFile {
 public:
  /// Where a file is written that takes the name of its target only when it is whole. Both paths are whole ones.
  struct Beside {
    std::string temporary;
    std::string target;
  };

  DataFile(std::unique_ptr<File> file, std::string name, std::string whole_path, bool readable, bool writable);

  /// Set by FileHandle, which gives the file its target's name or removes it.
  std::optional<Beside> beside;

  const std::string& name() const { return name_; }
  const std::string& whole_path() const { return whole_path_; }
  bool writable() const { return writable_; }
  /// Whether bytes that were written did not reach the platform.
  bool lost_bytes() const { return lost_bytes_; }

  /// Physical text lines read so far: the number of the line last read, 1-based.
  std::int32_t lines_read() const { return lines_read_; }

  /// The longest line of a text, in bytes without its end. What is no text has none, and must not fill the memory.
  static constexpr std::size_t kLongestLine = std::size_t{1} << 20;

  /// Raises Overflow for a line longer than that.
  static void refuse_too_long(std::string_view line);

  /// Reads a text line without its end (CR LF, LF or CR; the last line needs none) into `line`. Raises InputPastEnd,
  /// and Overflow for a line that is too long.
  void read_line(std::string& line);

  /// Reads `size` bytes; those beyond the end of the file read as zero.
  std::string read(std::size_t size);

  /// The next byte, or -1 at the end of the file; peek() leaves it unread.
  int get();
  int peek();

  void write(std::string_view bytes) { write(bytes, {}, {}); }
  /// The pieces one after another, between what stands before and behind them.
  void write(std::string_view before, std::initializer_list<Piece> pieces, std::string_view behind);

  void seek(std::int64_t position);
  std::int64_t position() const { return unflushed_ == 0 ? read_position() : write_position(); }
  std::int64_t length();
  /// Makes the file end at `length`, where it is longer.
  void cut(std::int64_t length);
  bool at_end();

  /// Whether bytes were written that the platform has not been given yet.
  bool has_waiting() const { return unflushed_ > 0; }
  /// Gives them to the platform.
  void flush();
  /// Waits until everything written is on the disk.
  void sync();
  /// Takes the file for this program, as File::lock() does.
  bool lock() { return file_->lock(); }
  void close();

 private:
  static constexpr std::size_t kBufferSize = 65536;
  static constexpr std::size_t kFirstPiece = 4096;  // read behind a seek: who jumps about reads little at each place

  std::int64_t read_position() const { return buffer_start_ + static_cast<std::int64_t>(read_at_); }
  std::int64_t write_position() const { return buffer_start_ + static_cast<std::int64_t>(unflushed_); }
  bool fill();
  void want_readable();
  void drop_read_buffer();

  std::unique_ptr<File> file_;
  std::string name_;
  std::string whole_path_;
  bool readable_;
  bool writable_;
  bool lost_bytes_ = false;
  std::int32_t lines_read_ = 0;

  // At most one of the two buffers holds bytes; the file position of its first byte is buffer_start_.
  std::int64_t buffer_start_ = 0;
  std::string read_buffer_;
  std::size_t read_at_ = 0;
  bool moved_ = false;         // by a seek, and nothing is read since
  std::string write_buffer_;   // never shrinks
  std::size_t unflushed_ = 0;  // bytes at its start that were written
};

}  // namespace tidewright
