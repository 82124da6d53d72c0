// Turns compiled code back into a script, as text in buffer 16: the labelled chunks of the buffer set, or the data of
// an image from one offset on.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "buffers/file_buffer.h"
#include "database/cmd_list.h"
#include "decompiler/record.h"
#include "files/file_handle.h"
#include "tables/define_table.h"
#include "tables/text_table.h"

namespace tidewright {

class Decompiler {
 public:
  /// The objects it works with, all of which outlive it. `fulllog` echoes the decoded commands of each section, too.
  struct Objects {
    FileHandle& files;
    CmdList& commands;
    FileBuffer& buffers;
    const TextTable& texts;
    const DefineTable& defines;
    const Record& record;
    bool fulllog = false;
  };
  explicit Decompiler(const Objects& objects) : o_(objects) {}

  /// Writes every labelled chunk of buffers 0 to 15: buffer 16 becomes "//", what it held before, and a section for
  /// each chunk, headed "#ORG name buffer". Compiled again the sections give the same chunks; what no section holds is
  /// told. Raises Overflow for a buffer with more than 32767 labels.
  void KaScript();

  /// Appends to buffer 16 what stands in the current file from `offset` on, read as `kind` says (3 code, 8 text, above
  /// 8 records), and then at each pointer found on the way: sections headed "#ORG 0xoffset", and a buffer number where
  /// the former buffer is full. Both arguments are left as the last point had them. Offset 0 ends the run. Raises
  /// Overflow after 32767 pointers.
  void kascriptraw(std::int32_t& offset, std::int16_t& kind);

 private:
  /// A labelled chunk, and the pointers registered in it.
  struct Chunk {
    std::string_view bytes;
    std::int32_t offset = 0;  // 0-based in the buffer
    std::int16_t mode = 0;
    std::vector<NamedPointer> pointers;

    /// The position of the first pointer, or the end.
    std::size_t until_pointer() const { return pointers.empty() ? bytes.size() : pointers.front().position; }
  };

  std::string sections_of(int buffer);
  std::string body(const Chunk& chunk);
  std::string code(const Chunk& chunk, std::size_t start);
  std::string texts(const Chunk& chunk);
  std::string records(const Chunk& chunk);

  std::int32_t write_section(std::int32_t offset, std::int16_t kind);
  Decoded raw_code(std::string& data, std::int32_t offset);
  std::string header(std::int32_t offset, std::size_t size);

  Objects o_;
  std::int64_t image_length_ = 0;    // in bytes, while kascriptraw runs
  int buffer_ = 0;                   // that the sections will be compiled into
  std::size_t filled_ = 0;           // bytes of it
  std::set<std::int32_t> sections_;  // the offsets of those that kascriptraw has written
};

}  // namespace tidewright
