// The working state of one CmdList::decode: bytes on their way to command text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "database/cmd_list.h"
#include "database/plan.h"
#include "database/surroundings.h"

namespace tidewright {

class Decoder {
 public:
  /// `bytes` and `around` must outlive the decoder.
  Decoder(CmdList& list, Plans& plans, const Surroundings& around, std::string_view bytes)
      : list_(list), plans_(plans), around_(around), bytes_(bytes), num_(*list.bank_) {}

  /// A whole labelled chunk; see CmdList::decode. `output` receives the text.
  void decode_chunk(std::string& output, std::string& pointers);

  /// Raw data of an image, up to the end of its script.
  Decoded decode_raw(std::string& output, std::string& pointers);

 private:
  /// Whether the bytes are what is tried: `past_end` where there are too few of them to know.
  enum class Fit { yes, no, past_end };

  struct Pointer {
    std::int32_t number;  // its place in the chunk, 1-based; of raw data its value
    int kind;
  };
  static void list(const Pointer& pointer, std::string& pointers);

  Fit command_at(std::size_t start);
  Fit command(std::size_t start, std::size_t record);
  Fit operands(std::size_t record, int depth);
  Fit value(const Operand& operand);
  Fit choice(const Operand& operand);
  Fit bind(Plan& plan, const tCmd& command, const Operand& operand, int depth);
  Fit fixed(const Encoded& encoded);

  bool stands_here(const Encoded& encoded) const;
  void pass(std::size_t size, bool pointer);
  bool pointer_can_be_written(int kind);
  void write_number(std::size_t width);
  void write_pointer(int kind);

  bool reads_back(const tCmd& command, Plan& plan) const;
  bool hidden_by_phrase(const tCmd& command, Plan& plan) const;
  bool passes_defines() const;
  std::string named_line() const;

  void write_data(std::size_t from, std::size_t to, std::string& output, std::string& pointers);
  void write_data_pointer(const NamedPointer& pointer, std::string& output, std::string& pointers);
  void skip_pointers_before(std::size_t position);

  std::string_view rest() const { return bytes_.substr(position_); }
  /// The registered pointer that stands at the position; null for none.
  const NamedPointer* pointer_here() const;

  CmdList& list_;
  Plans& plans_;
  const Surroundings& around_;
  std::string_view bytes_;
  SmartNum num_;
  bool raw_ = false;
  bool has_more_ = false;  // the bytes behind the end will be given, too, from the command that is tried on

  std::size_t first_pointer_ = 0;              // registered, not before the command that is tried
  std::unordered_set<std::int32_t> followed_;  // of raw data: the targets in the list

  // Of the command that is tried.
  std::string line_;
  std::vector<Pointer> listed_;
  std::size_t position_ = 0;      // in the bytes
  std::size_t next_pointer_ = 0;  // in the registered pointers
  std::size_t values_ = 0;        // written to the line
  bool bare_name_ = false;        // one of them is neither a number nor a "$" name
  bool ended_ = false;            // it ends the script
};

}  // namespace tidewright
