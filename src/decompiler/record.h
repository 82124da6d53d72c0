// Data records: lines of plain numbers, "#move 1 2 i 203", and the movement data of an image.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "files/file_handle.h"
#include "script/smart_num.h"

namespace tidewright {

class Record {
 public:
  Record(FileHandle& files, const Bank& bank) : files_(&files), num_(bank) {}

  /// Whether this word begins a data record.
  static bool is_type(std::string_view word);

  /// The bytes of a data line: its first word is "move", "binary" or "raw", the others are numbers, always hexadecimal,
  /// or the type of those that follow: b byte char, i word int, l dword long, p pointer ptr. It may have any length.
  /// Another first word is told and yields nothing. Raises TypeMismatch for a word that is no number.
  std::string Draw(std::string_view line) const;

  /// Replaces `data`, movement data, by "#move" lines: six bytes on the first, the others on the second. At most 256
  /// bytes are written, and where `stop` is not 0 none behind the first &hFF. Returns how many.
  std::size_t undraw(std::string& data, std::int16_t stop) const;

 private:
  FileHandle* files_;
  SmartNum num_;
};

}  // namespace tidewright
