#include "database/decoder.h"

#include <algorithm>
#include <limits>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

constexpr std::size_t kPointerSize = kPointerPlaceholder.size();
constexpr std::size_t kBytesPerLine = 16;  // of data
constexpr int kDeepestBind = 256;
constexpr std::string_view kBareMark = "$";  // a name that a command takes, and no "#inline" line

void separate(std::string& output) {
  if (!output.empty()) output += "; ";
}

bool is_number(std::string_view text) {
  const std::size_t length = number_prefix(text).length;
  return length > 0 && length == text.size();
}

void write_raw(std::string_view bytes, std::string& output) {
  for (std::size_t start = 0; start < bytes.size(); start += kBytesPerLine) {
    separate(output);
    output += "#raw";
    for (const char& byte : bytes.substr(start, kBytesPerLine)) {
      output += ' ';
      SmartNum::rip_value(std::string_view(&byte, 1), output);
    }
  }
}

}  // namespace

void Decoder::decode_chunk(std::string& output, std::string& pointers) {
  std::size_t data = 0;  // where the bytes begin that are no command
  for (std::size_t at = 0; at < bytes_.size();) {
    skip_pointers_before(at);
    if (command_at(at) != Fit::yes) {
      // A registered pointer is one piece of data.
      position_ = at;
      next_pointer_ = first_pointer_;
      at += pointer_here() != nullptr ? kPointerSize : 1;
      continue;
    }
    write_data(data, at, output, pointers);
    separate(output);
    output += line_;
    for (const Pointer& pointer : listed_) list(pointer, pointers);
    data = at = position_;
  }
  write_data(data, bytes_.size(), output, pointers);
}

Decoded Decoder::decode_raw(std::string& output, std::string& pointers) {
  raw_ = true;
  const std::int64_t length = around_.image_length;
  const bool has_more = around_.offset + static_cast<std::int64_t>(bytes_.size()) < length;
  std::size_t at = 0;
  while (at < bytes_.size()) {
    const std::int64_t place = around_.offset + static_cast<std::int64_t>(at);
    if (place > std::numeric_limits<std::int32_t>::max()) return {at, false};
    const auto offset = static_cast<std::int32_t>(place);
    if (at > 0 && around_.sections != nullptr && around_.sections->contains(offset)) return {at, false};
    has_more_ = has_more && at > 0;
    const Fit fit = command_at(at);
    if (fit == Fit::past_end) return {at, true};
    if (fit != Fit::yes) {
      separate(output);
      output += cat({"' the byte 0x", hex_bytes(bytes_.substr(at, 1)), " at 0x", hex(offset), " begins no command"});
      return {at, false};
    }
    separate(output);
    output += line_;
    for (const Pointer& pointer : listed_) {
      if (!followed_.insert(pointer.number).second) continue;
      if (!pointers.empty()) pointers += ',';
      pointers += cat({"&h", hex(pointer.number), ",", pointer.kind});
    }
    at = position_;
    if (ended_) return {at, false};
  }
  return {at, has_more};
}

void Decoder::list(const Pointer& pointer, std::string& pointers) {
  if (!pointers.empty()) pointers += ',';
  append_number(pointers, pointer.number);
  pointers += ',';
  append_number(pointers, pointer.kind);
}

// Tries the commands of the byte at `start`. Where one fits, line_ is its text and position_ is behind it.
Decoder::Fit Decoder::command_at(std::size_t start) {
  for (const std::size_t record : plans_.commands_of(static_cast<std::uint8_t>(bytes_[start]))) {
    const Fit fit = command(start, record);
    // One that wants more bytes has its turn when they are there, before any that is filed behind it.
    if (fit == Fit::yes || (fit == Fit::past_end && has_more_)) return fit;
  }
  return Fit::no;
}

Decoder::Fit Decoder::command(std::size_t start, std::size_t record) {
  const tCmd& command = list_.record(record);
  line_ = command.keyword();
  listed_.clear();
  position_ = start + 1;
  next_pointer_ = first_pointer_;
  values_ = 0;
  bare_name_ = false;
  ended_ = false;
  const Fit fit = operands(record, 1);
  if (fit != Fit::yes) return fit;
  // A registered pointer that is none of the operands would be lost.
  const bool lost = next_pointer_ < around_.pointers.size() && around_.pointers[next_pointer_].position < position_;
  return !lost && reads_back(command, plans_.plan(list_, record)) ? Fit::yes : Fit::no;
}

Decoder::Fit Decoder::operands(std::size_t record, int depth) {
  const tCmd& command = list_.record(record);
  Plan& plan = plans_.plan(list_, record);
  if (!plan.encodable || depth > kDeepestBind) return Fit::no;
  ended_ |= plan.ends_script;
  for (const Operand& operand : plan.operands) {
    Fit fit = Fit::no;
    switch (operand.form) {
      case Operand::Form::value:
        fit = value(operand);
        break;
      case Operand::Form::choice:
        fit = choice(operand);
        break;
      case Operand::Form::bind:
        fit = bind(plan, command, operand, depth);
        break;
      case Operand::Form::fixed:
        fit = fixed(operand.fixed);
        break;
    }
    if (fit != Fit::yes) return fit;
  }
  return Fit::yes;
}

Decoder::Fit Decoder::value(const Operand& operand) {
  if (rest().size() < operand.width) return Fit::past_end;
  if (!operand.pointer()) {
    write_number(operand.width);
  } else {
    if (!pointer_can_be_written(operand.kind)) return Fit::no;
    write_pointer(operand.kind);
  }
  pass(operand.width, operand.pointer());
  return Fit::yes;
}

// The one choice that gives what stands here. Of two equal ones the bytes do not tell which the script meant.
Decoder::Fit Decoder::choice(const Operand& operand) {
  if (rest().size() < operand.width) return Fit::past_end;
  const Operand::Choice* found = nullptr;
  for (const Operand::Choice& choice : operand.choices) {
    if (!stands_here(choice.encoded)) continue;
    if (found != nullptr) return Fit::no;
    found = &choice;
  }
  if (found == nullptr) return Fit::no;
  line_ += ' ';
  line_ += found->number;
  ++values_;
  pass(operand.width, operand.pointer());
  return Fit::yes;
}

Decoder::Fit Decoder::bind(Plan& plan, const tCmd& command, const Operand& operand, int depth) {
  if (rest().size() < operand.width) return Fit::past_end;
  const std::size_t start = line_.size() + 1;
  const NamedPointer* const registered = operand.pointer() ? pointer_here() : nullptr;
  if (registered != nullptr) {
    line_ += cat({" ", registered->name});
    ++values_;
  } else {
    write_number(operand.width);
  }
  const Encoded* const encoded = Plans::bound(list_, plan, command, operand, line_.substr(start));
  if (encoded == nullptr || !stands_here(*encoded)) return Fit::no;
  pass(operand.width, operand.pointer());
  return encoded->bound == 0 ? Fit::yes : operands(static_cast<std::size_t>(encoded->bound), depth + 1);
}

Decoder::Fit Decoder::fixed(const Encoded& encoded) {
  const std::size_t size = encoded.bytes.size();
  if (rest().size() < size) {
    return encoded.pointer.empty() && !encoded.bytes.starts_with(rest()) ? Fit::no : Fit::past_end;
  }
  if (!stands_here(encoded)) return Fit::no;
  pass(size, !encoded.pointer.empty());
  return Fit::yes;
}

// Whether encoding this would give the bytes, or the registered pointer, at the position.
bool Decoder::stands_here(const Encoded& encoded) const {
  if (encoded.pointer.empty()) return rest().starts_with(encoded.bytes);
  if (const NamedPointer* const registered = pointer_here()) {
    return same_text(encoded.pointer, SmartNum::pointer_name(registered->name));
  }
  const std::string_view place = SmartNum::position_text(encoded.pointer);
  return is_number(place) && num_.CPtr(place) == SmartNum::pointer_value(rest().substr(0, kPointerSize));
}

// A registered pointer is met only by what is one itself; a number in its place leaves it, to be found lost.
void Decoder::pass(std::size_t size, bool pointer) {
  if (pointer && pointer_here() != nullptr) ++next_pointer_;
  position_ += size;
}

const NamedPointer* Decoder::pointer_here() const {
  if (next_pointer_ >= around_.pointers.size()) return nullptr;
  const NamedPointer& next = around_.pointers[next_pointer_];
  return next.position == position_ ? &next : nullptr;
}

// Whether a script line can say what the pointer at the position is, as one of this kind.
bool Decoder::pointer_can_be_written(int kind) {
  const NamedPointer* const registered = pointer_here();
  if (registered == nullptr || registered->name.empty()) {
    // A small number would be given the bank base.
    const std::int32_t value = SmartNum::pointer_value(rest().substr(0, kPointerSize));
    return num_.CPtr(static_cast<double>(value)) == value;
  }
  // One that stands in data is of kind 3, and that is what data makes of it again.
  if (registered->kind == kPointer && kind != kPointer) return false;
  const std::string_view name = registered->name;
  if (!is_value(name, true)) bare_name_ = true;
  return is_writable_name(name) && (number_prefix(name).length == 0 || is_number(name));
}

void Decoder::write_number(std::size_t width) {
  line_ += ' ';
  SmartNum::rip_value(rest().substr(0, width), line_);
  ++values_;
}

void Decoder::write_pointer(int kind) {
  if (!raw_) {
    const auto number = static_cast<std::int32_t>(position_ + 1);
    line_ += " $";
    append_number(line_, number);
    listed_.push_back({number, kind});
    ++values_;
    return;
  }
  write_number(kPointerSize);
  const std::int32_t value = SmartNum::pointer_value(rest().substr(0, kPointerSize));
  const std::int64_t target = std::int64_t{value} - (list_.bank_->autobank ? kBankBase : 0);
  if (target > 0 && target < around_.image_length) listed_.push_back({value, kind});
}

// Whether the line, run through a script, calls just this command.
bool Decoder::reads_back(const tCmd& command, Plan& plan) const {
  return !hidden_by_phrase(command, plan) && passes_defines();
}

bool Decoder::hidden_by_phrase(const tCmd& command, Plan& plan) const {
  if (!list_.has_phrases_ || values_ == 0) return false;
  std::vector<std::string> tokens;
  if (bare_name_) {
    split(named_line(), ' ', tokens);
    return list_.find(standard_form(tokens)) != nullptr;
  }
  if (plan.hidden.size() <= values_) plan.hidden.resize(values_ + 1);
  std::optional<bool>& hidden = plan.hidden[values_];
  if (!hidden) {
    tokens.assign(values_ + 1, "0");
    tokens[0] = command.keyword();
    hidden = list_.find(standard_form(tokens)) != nullptr;
  }
  return *hidden;
}

bool Decoder::passes_defines() const {
  if (around_.defines == nullptr || around_.defines->empty()) return true;
  const std::string line = named_line();
  for (std::string_view left = line; !left.empty();) {
    const std::size_t end = std::min(left.find(' '), left.size());
    if (around_.defines->find(left.substr(0, end)) != nullptr) return false;
    left.remove_prefix(std::min(end + 1, left.size()));
  }
  return true;
}

// The line with the names of its pointers in place.
std::string Decoder::named_line() const {
  return listed_.empty() || raw_ ? line_ : with_pointer_names(line_, around_.pointers);
}

void Decoder::skip_pointers_before(std::size_t position) {
  while (first_pointer_ < around_.pointers.size() && around_.pointers[first_pointer_].position < position) {
    ++first_pointer_;
  }
}

// The bytes from..to, which are no commands, as data records, and the pointers registered in them as inline ones.
void Decoder::write_data(std::size_t from, std::size_t to, std::string& output, std::string& pointers) {
  if (from == to) return;
  std::size_t written = from;
  const auto begins_before = [](const NamedPointer& pointer, std::size_t place) { return pointer.position < place; };
  const auto& registered = around_.pointers;
  for (auto next = std::lower_bound(registered.begin(), registered.end(), from, begins_before);
       next != registered.end() && next->position < to; ++next) {
    if (next->position < written || next->position + kPointerSize > to) {
      list_.files_->echo_fault(cat({" - The pointer ", next->name, " stands in something else and is lost"}));
    } else if (!is_number(next->name) && (next->name == kBareMark || !is_writable_name(next->name))) {
      list_.files_->echo_fault(cat({" - No script can say the name of the pointer ", next->name, ", which is lost"}));
    } else {
      write_raw(bytes_.substr(written, next->position - written), output);
      write_data_pointer(*next, output, pointers);
      written = next->position + kPointerSize;
    }
  }
  write_raw(bytes_.substr(written, to - written), output);
}

// Registers the pointer again, or gives the bytes that burning would put in the place of a number.
void Decoder::write_data_pointer(const NamedPointer& pointer, std::string& output, std::string& pointers) {
  if (is_number(pointer.name)) return write_raw(SmartNum::pointer_bytes(num_.CPtr(pointer.name)), output);
  // An inline name wants its "$"; one that has none finds its label with it, too.
  const auto number = static_cast<std::int32_t>(pointer.position + 1);
  separate(output);
  output += cat({"#inline ", pointer.name.starts_with('$') ? "$" : "$$", number});
  list({number, kPointer}, pointers);
}

}  // namespace tidewright
