#include "database/encoder.h"

#include <algorithm>
#include <unordered_set>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// A constant longer than two groups of digits goes to the converter as a raw hexadecimal string.
constexpr int kRawHex = -1;

// By the number of whole four-digit groups behind "&h": none makes a byte, one a word, two a dword.
int constant_kind(std::string_view constant) {
  if (!constant.starts_with("&h")) return kByte;
  const std::size_t groups = (constant.size() - 2) / 4;
  return groups <= kDword ? static_cast<int>(groups) : kRawHex;
}

// What kind a value parameter's value has in the converter: an enum is a byte.
int converter_kind(std::uint8_t kind) {
  return kind == kEnum ? static_cast<int>(kByte) : kind;
}

}  // namespace

std::string_view Encoder::resolver(std::string_view description) {
  if (description.empty()) return {};
  const std::string_view word = description.substr(0, description.find('('));
  const bool resolves = word.size() < description.size() && (word == "mask" || word == "select" || word == "bind");
  return resolves ? word : std::string_view();
}

void Encoder::echo(std::initializer_list<Piece> pieces) const {
  if (!silent_) list_.files_->echo(pieces);
}

// Forgets the line before.
void Encoder::begin() {
  next_ = 1;
  reached_ = 1;
  depth_ = 0;
  value_list_.clear();
  bytes_.clear();
  pointers_.clear();
  fault_.clear();
}

bool Encoder::encode(std::string_view code, std::int16_t lineno) {
  begin();
  lineno_ = lineno;
  silent_ = false;
  list_.current_ = 0;
  split(code, ' ', tokens_);
  try {
    encode_tokens();
  } catch (const RuntimeError& error) {
    list_.files_->echo_fault(cat({"Invald Command :", reached_ < tokens_.size() ? tokens_[reached_] : ""}));
    fault_ = error.description;
  }
  return fault_.empty();
}

void Encoder::encode_tokens() {
  const tCmd* const command = end_of_chain(look_up());
  if (command == nullptr) {
    list_.files_->echo_fault(cat({"Invalid Command : ", tokens_[0]}));
    fault_ = "no such command";
    return;
  }
  echo({lineno_, ": Code Command - ", command->title()});
  append_number(value_list_, command->bytecode());
  bytes_ += static_cast<char>(command->bytecode());
  walk(*command);
  tell_unused(*command);
  echo({" -> ", value_list_});
}

// The command that the tokens call: by their standard form, or else by the first of them. Of a phrase only the values
// are kept, behind an empty word.
const tCmd* Encoder::look_up() {
  next_ = 1;
  reached_ = 1;
  // Only a keyword of several words can be a standard form that its first token alone is not.
  const bool may_be_phrase = list_.has_phrases_ && tokens_.size() > 1;
  const tCmd* const phrase = may_be_phrase ? list_.find(standard_form(tokens_)) : nullptr;
  if (phrase == nullptr) return list_.find(tokens_[0]);
  const auto is_word = [](const std::string& token) { return !is_value(token, true); };
  tokens_.erase(std::remove_if(tokens_.begin(), tokens_.end(), is_word), tokens_.end());
  tokens_.insert(tokens_.begin(), std::string());
  return phrase;
}

const tCmd* Encoder::end_of_chain(const tCmd* command) {
  if (command == nullptr || !command->alias()) return command;
  std::unordered_set<const tCmd*> seen;
  while (command != nullptr && command->alias()) {
    if (!seen.insert(command).second) {
      raise(ErrorNumber::invalid_call, cat({"the alias ", command->keyword(), " comes back to itself"}));
    }
    echo({lineno_, ": Code Alias"});
    follow_alias(*command);
    command = look_up();
  }
  return command;
}

// Puts what the alias stands for, with the script's values in place, in the place of the tokens.
void Encoder::follow_alias(const tCmd& alias) {
  std::vector<std::string> phrase;
  split(alias.ParmDesc(0), ' ', phrase);
  bool takes_values = alias.parmcnt() > 1;
  for (std::string& token : phrase) {
    if (!is_value(token, true)) continue;
    token = next_value();
    takes_values = true;
  }
  for (int i = 1; i < alias.parmcnt(); ++i) {
    const std::uint8_t kind = alias.Parmsise(i);
    const std::string& description = alias.ParmDesc(i);
    if (kind == kEndOfScript) continue;
    if (takes_value(kind, description)) {
      std::string value = next_value();
      resolve(description, value);
      phrase.push_back(std::move(value));
    } else {
      const tCmd* const named = kind == kNamedByte ? list_.find(description) : nullptr;
      phrase.push_back(named == nullptr ? description : cat({named->bytecode()}));
    }
  }
  if (takes_values) {
    tell_unused(alias);
  } else {
    while (has_value()) phrase.push_back(next_value());
  }
  tokens_ = std::move(phrase);
}

// Adds the values of all parameters of `command` to the value list and the bytes.
void Encoder::walk(const tCmd& command) {
  if (++depth_ > kDeepestBind) raise(ErrorNumber::invalid_call, cat({command.keyword(), " binds to itself too often"}));
  for (int i = 0; i < command.parmcnt(); ++i) {
    const std::int16_t bound = add_parameter(command, i);
    if (bound == 0) continue;
    const tCmd& other = list_.record(static_cast<std::size_t>(bound));
    if (other.alias()) {
      raise(ErrorNumber::invalid_call, cat({other.keyword(), " is an alias, which nothing binds to"}));
    }
    walk(other);
  }
  --depth_;
}

// Adds one parameter; the result is the command that it binds to, 0 for none.
std::int16_t Encoder::add_parameter(const tCmd& command, int index) {
  const std::uint8_t kind = command.Parmsise(index);
  const std::string& description = command.ParmDesc(index);
  if (takes_value(kind, description)) return add_value_parameter(command, index);
  if (kind == kConstant) {
    add_number(description, constant_kind(description));
  } else if (kind == kNamedByte) {
    add_named_byte(description);
  } else {
    add(description, kind);
  }
  return 0;
}

std::int16_t Encoder::add_value_parameter(const tCmd& command, int index) {
  const std::uint8_t kind = command.Parmsise(index);
  if (kind == kEndOfScript) return 0;  // a mark for the decoder: no value, no byte
  const std::string& description = command.ParmDesc(index);
  if (resolver(description).empty()) {
    add_number(next_value(), converter_kind(kind));
    return 0;
  }
  std::string value = next_value();
  const std::int16_t bound = resolve(description, value);
  add_number(value, converter_kind(kind));
  return bound;
}

Encoder::Trial Encoder::try_parameter(const tCmd& command, int index, std::string_view value) {
  begin();
  tokens_ = {std::string(), std::string(value)};
  Trial trial;
  trial.bound = add_parameter(command, index);
  trial.bytes = bytes_;
  trial.pointers = pointers_;
  return trial;
}

const tCmd* Encoder::find_called(std::vector<std::string> tokens) {
  tokens_ = std::move(tokens);
  return look_up();
}

const tCmd* Encoder::follow_aliases(std::vector<std::string>& tokens) {
  tokens_ = tokens;
  const tCmd* const command = end_of_chain(look_up());
  tokens = tokens_;
  return command;
}

// Puts a value through the select, mask or bind of its parameter, where it has one. The result is the command bound to.
std::int16_t Encoder::resolve(const std::string& description, std::string& value) const {
  if (resolver(description).empty()) return 0;
  const std::string given = value;
  if (number_prefix(given).length == 0) raise(ErrorNumber::type_mismatch, cat({"\"", given, "\" is no number"}));
  std::string specification = description;
  const std::int16_t bound = list_.resolveparm(specification, value);
  if (value.empty()) raise(ErrorNumber::invalid_call, cat({"there is no choice ", given}));
  return bound;
}

void Encoder::add_named_byte(const std::string& description) {
  const tCmd* const named = list_.find(description);
  const std::uint8_t code = named != nullptr ? named->bytecode() : to_byte(Val(description));
  if (named != nullptr) echo({lineno_, ": ", SmartNum::label(-kCommand), description, " [", hex(code), "] "});
  add(cat({code}), kByte);
}

// Adds a value of the script, or a constant of the database: what is no number is refused, what is lost of one is told.
void Encoder::add_number(std::string_view value, int kind) {
  if (kind == kRawHex) return add(value, kind);
  const NumberPrefix number = number_prefix(value);
  const bool pointer = is_pointer_kind(kind);
  if (number.length == 0) {
    if (!pointer || value.empty()) raise(ErrorNumber::type_mismatch, cat({"\"", value, "\" is no number"}));
    return add(value, kind);
  }
  if (number.length < value.size()) {
    echo({lineno_, ": Only ", value.substr(0, number.length), " of ", value, " is read"});
    value = value.substr(0, number.length);
  }
  if (pointer) return add(value, kind);
  const auto digits = static_cast<std::size_t>(SmartNum::width(-kind, 1));
  if (SmartNum::digits(value, number.value) > digits) {
    echo({lineno_, ": ", value, " has more than ", digits, " hexadecimal digits, the first ", digits, " are kept"});
    return add(value, kind);
  }
  list_value(value);
  SmartNum::append_bytes(to_long(number.value), digits / 2, bytes_);
}

void Encoder::add(std::string_view value, int kind) {
  if (is_pointer_kind(kind) && value.find(',') != std::string_view::npos) {
    raise(ErrorNumber::type_mismatch, "a label cannot hold a comma");
  }
  list_value(value);
  num_.code_value({value, kind}, bytes_, pointers_);
}

void Encoder::list_value(std::string_view value) {
  value_list_ += ' ';
  value_list_ += value;
}

const std::string& Encoder::next_value() {
  reached_ = next_;
  if (!has_value()) raise(ErrorNumber::invalid_call, "too few values");
  return tokens_[next_++];
}

void Encoder::tell_unused(const tCmd& command) {
  if (!has_value()) return;
  std::string unused;
  while (has_value()) unused += cat({" ", next_value()});
  echo({lineno_, ": ", command.keyword(), " has no use for the value", unused});
}

}  // namespace tidewright
