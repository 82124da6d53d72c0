// How the bytes of each command are read back. A plan is made by trying what encoding gives for each parameter, so that
// decoding is the inverse of encoding without a second set of rules.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "database/encoder.h"

namespace tidewright {

/// Whether this text, as a line of a script, is one code statement that reads exactly like it.
bool reads_as_code(const std::string& text);

/// What stands for a parameter in compiled code: bytes, or a pointer to a name or number.
struct Encoded {
  std::string bytes;
  std::string pointer;     // not empty for a pointer: its name as it is registered
  std::int16_t bound = 0;  // position of the command whose parameters follow
};

/// One parameter of a command, as decoding meets it.
struct Operand {
  enum class Form {
    value,   // any number, or a pointer
    choice,  // one of `choices`, written as its number
    bind,    // a number that may bring the parameters of another command
    fixed,   // just `fixed`; nothing is written
  };
  Form form = Form::value;
  int index = 0;  // of the parameter in its command
  int kind = kByte;
  std::size_t width = 1;  // in bytes; of a value, choice or bind

  struct Choice {
    std::string number;  // what the script says
    Encoded encoded;
  };
  std::vector<Choice> choices;
  Encoded fixed;

  bool pointer() const { return is_pointer_kind(kind); }
};

struct Plan {
  bool encodable = true;  // else no line of a script ever gives this command
  bool ends_script = false;
  std::vector<Operand> operands;
  // By the number of values: whether the phrase of some alias hides the command. Filled as met.
  std::vector<std::optional<bool>> hidden;
  // What a bind gives for a value, by operand and value text. Filled as met.
  std::unordered_map<std::string, Encoded> binds;
};

/// The plans of a database, made as they are wanted. They hold as long as no command is added or removed.
class Plans {
 public:
  explicit Plans(CmdList& list);

  /// Positions of the commands with this byte code that a line can call, in filing order.
  const std::vector<std::size_t>& commands_of(std::uint8_t code) const { return by_code_[code]; }

  /// The plan of the command at a position.
  Plan& plan(CmdList& list, std::size_t position);

  /// What a bind operand gives for the value `text`; null where encoding refuses it.
  static const Encoded* bound(CmdList& list, Plan& plan, const tCmd& command, const Operand& operand,
                              const std::string& text);

 private:
  static std::unique_ptr<Plan> make(CmdList& list, const tCmd& command);

  std::array<std::vector<std::size_t>, 256> by_code_;
  std::vector<std::unique_ptr<Plan>> plans_;
};

}  // namespace tidewright
