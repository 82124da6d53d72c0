// The working state of a code line on its way to bytes. Control keeps one, whose memory serves line after line;
// CmdList::encode makes its own. Decoding asks one what a parameter or an alias would give.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "database/cmd_list.h"

namespace tidewright {

class Encoder {
 public:
  /// Works with the commands that `list` has at each call. It says nothing until it encodes.
  explicit Encoder(CmdList& list) : list_(list), num_(*list.bank_) {}
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// Encodes a code line as CmdList::encode does; `lineno` stands in front of the messages. False for a line that is
  /// refused: fault() says why.
  bool encode(std::string_view code, std::int16_t lineno);
  const std::string& fault() const { return fault_; }

  /// What the last line gave that was not refused.
  const std::string& bytes() const { return bytes_; }
  const std::vector<CodedPointer>& pointers() const { return pointers_; }
  const std::string& value_list() const { return value_list_; }

  /// What parameter `index` (0-based) of a command gives for one value of the script: its bytes, its pointers, and
  /// the command it binds to. A parameter that wants no value does not look at it. Raises what makes encoding fail.
  struct Trial {
    std::string bytes;
    std::vector<CodedPointer> pointers;
    std::int16_t bound = 0;  // position of the command, 0 for none
  };
  Trial try_parameter(const tCmd& command, int index, std::string_view value);

  /// The record that `tokens` call, alias or command; null for none.
  const tCmd* find_called(std::vector<std::string> tokens);

  /// Follows the aliases that `tokens` call to the command at their end, and leaves what that command is given: its
  /// word, then the values. Raises what makes encoding fail.
  const tCmd* follow_aliases(std::vector<std::string>& tokens);

  /// The word of a description that works on the value ("select", "mask", "bind"), else nothing.
  static std::string_view resolver(std::string_view description);

 private:
  void begin();
  void encode_tokens();
  const tCmd* look_up();
  const tCmd* end_of_chain(const tCmd* command);
  void follow_alias(const tCmd& alias);
  void walk(const tCmd& command);
  std::int16_t add_parameter(const tCmd& command, int index);
  std::int16_t add_value_parameter(const tCmd& command, int index);
  std::int16_t resolve(const std::string& description, std::string& value) const;
  void add_named_byte(const std::string& description);
  void add_number(std::string_view value, int kind);
  void add(std::string_view value, int kind);
  void list_value(std::string_view value);
  bool has_value() const { return next_ < tokens_.size(); }
  const std::string& next_value();
  void tell_unused(const tCmd& command);
  void echo(std::initializer_list<Piece> pieces) const;

  CmdList& list_;
  std::int16_t lineno_ = 0;
  bool silent_ = true;
  // Of the line, or of what an alias made of it: the word that was looked up, then the values.
  std::vector<std::string> tokens_;
  std::size_t next_ = 1;     // the first value not yet taken
  std::size_t reached_ = 1;  // the token that the walk has come to, for the message
  static constexpr int kDeepestBind = 256;
  int depth_ = 0;  // of commands bound to one another

  SmartNum num_;
  std::string value_list_;
  std::string bytes_;
  std::vector<CodedPointer> pointers_;
  std::string fault_;
};

}  // namespace tidewright
