#include "database/cmd_list.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "database/dealiaser.h"
#include "database/decoder.h"
#include "database/encoder.h"
#include "database/plan.h"
#include "script/smart_string.h"

namespace tidewright {
namespace {

[[noreturn]] void no_command(std::string_view key) {
  raise(ErrorNumber::invalid_call, cat({"there is no command ", key}));
}

}  // namespace

CmdList::CmdList(FileHandle& files, const Bank& bank) : files_(&files), bank_(&bank) {
  placeholder_.keyword("Donkey");
}

void CmdList::forget_inverse() {
  plans_.reset();
  dealiaser_.reset();
}

void CmdList::add() {
  forget_inverse();
  tCmd command = std::move(newcmd_);
  newcmd_ = tCmd();
  command.title(cat({command.keyword(), " [", hex(command.bytecode()), "] "}));
  if (command.alias()) command.Descriptions(describe(command));
  const std::string code_key = command.alias() ? command.ParmDesc(0) : hex(command.bytecode());
  const std::string keyword = command.keyword();
  has_phrases_ |= keyword.find(' ') != std::string::npos;
  commands_.push_back(std::move(command));
  file_under(keywords_, keyword, keyword);
  file_under(codes_, code_key, keyword);
}

void CmdList::file_under(Collection<std::size_t>& index, const std::string& key, const std::string& keyword) {
  if (index.find(key) != nullptr) return files_->echo({"Duplicate Entry: ", keyword});
  index.add(key, commands_.size());
}

std::string CmdList::describe(const tCmd& command) {
  std::string summary;
  for (int i = 0; i < command.parmcnt(); ++i) {
    if (i > 0) summary += ',';
    const std::uint8_t kind = command.Parmsise(i);
    const std::string& description = command.ParmDesc(i);
    if (kind <= kLastValueKind) {
      append_number(summary, kind);
    } else if (kind == kConstant) {
      if (description.starts_with("&h"))
        append_number(summary, static_cast<std::int64_t>((description.size() - 2) / 4));
    } else if (kind == kNamedByte) {
      summary += description;
    } else {
      summary += '3';
    }
  }
  return summary;
}

std::string CmdList::template_of(const tCmd& command) {
  std::string text = command.alias() ? "" : command.keyword();
  int number = 1;
  for (int i = 0; i < command.parmcnt(); ++i) {
    if (command.Parmsise(i) <= kLastValueKind) {
      text += " $";
      append_number(text, number++);
    } else {
      // The first two parameters of an alias are its words, which stand side by side.
      if (!command.alias() || i > 1) text += " ; ";
      text += ' ';
      text += command.ParmDesc(i);
    }
  }
  return text;
}

const tCmd& CmdList::record(std::size_t position) const {
  if (position < 1 || position > commands_.size()) raise(ErrorNumber::subscript_out_of_range, "a removed command");
  return commands_[position - 1];
}

const tCmd* CmdList::find(std::string_view keyword) const {
  const std::size_t* const position = keywords_.find(keyword);
  return position == nullptr ? nullptr : &record(*position);
}

std::string CmdList::item(std::string_view key, bool by_keyword) {
  const std::size_t* const position = (by_keyword ? keywords_ : codes_).find(key);
  if (position == nullptr) no_command(key);
  current_ = *position;
  return template_of(curcmd());
}

void CmdList::Remove(std::string_view key) {
  const std::size_t* const position = codes_.find(key);
  if (position == nullptr) no_command(key);
  record(*position);
  forget_inverse();
  current_ = 0;
  commands_.erase(commands_.begin() + static_cast<std::ptrdiff_t>(*position - 1));
  codes_.remove(key);
}

std::string CmdList::encode(std::string& code, std::string& extra, std::int16_t lineno) {
  Encoder encoder(*this);
  if (!encoder.encode(code, lineno)) {
    extra = encoder.fault();
    return "";
  }
  code = encoder.bytes();
  extra = SmartNum::pointer_list(encoder.pointers());
  return encoder.value_list();
}

Decoded CmdList::decode(std::string& data, std::string& text, bool raw, const Surroundings& around) {
  current_ = 0;
  if (plans_ == nullptr) plans_ = std::make_shared<Plans>(*this);
  std::string output;
  Decoded decoded;
  text.clear();
  Decoder decoder(*this, *plans_, around, data);
  if (raw) {
    decoded = decoder.decode_raw(output, text);
  } else {
    decoder.decode_chunk(output, text);
    decoded.bytes = data.size();
  }
  data = std::move(output);
  return decoded;
}

void CmdList::dealias(std::string& data, const Surroundings& around) {
  if (dealiaser_ == nullptr) dealiaser_ = std::make_shared<const Dealiaser>(*this);
  dealiaser_->dealias(*this, data, around);
}

std::int16_t CmdList::resolveparm(std::string& spec, std::string& value) const {
  const std::size_t open = spec.find('(');
  const std::size_t close = spec.find(')');
  const bool bracketed = open != std::string::npos && close != std::string::npos && open < close;
  const std::string name = open == std::string::npos ? "" : spec.substr(0, open);
  const std::string tail = close == std::string::npos ? "" : spec.substr(close + 1);
  const std::string list = bracketed ? spec.substr(open + 1, close - open - 1) : spec;
  spec = name;

  if (name.empty() || name == "mask") {
    value = list;
    return 0;
  }
  if (name != "select" && name != "bind") return 0;
  SmartString tokens;
  tokens.kaSplit(list, ',');
  if (name == "select") {
    value = tokens.values(to_integer(Val(value)));
    return 0;
  }
  int index = 0;
  if (!list.empty() && list != "*") {
    while (index <= tokens.last() && Val(tokens.values(index)) != Val(value)) ++index;
    if (index <= tokens.last()) value = tokens.values(index);
  }
  if (tail.empty() || index >= SmartString::kSlots || tokens.values(index).empty()) return 0;
  const std::size_t* const position = keywords_.find(tail);
  if (position == nullptr) no_command(tail);
  return to_integer(static_cast<double>(*position));
}

}  // namespace tidewright
