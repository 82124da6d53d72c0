#include "script/smart_num.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// By negated kind. The trailing blanks belong to the labels.
constexpr std::array<std::string_view, 14> kLabels = {
    "byte    = ",   "word    = ",   "dword   = ",   "Pointer = ",   "END OF SCRIPT MARK",
    "- Enum    = ", "- Mask    = ", "Command   = ", "Str Point = ", "Move Point= ",
    "String    = ", "User Byte = ", "User Word = ", "User DWord= ",
};

bool has_hex_mark(std::string_view text) {
  return text.size() > 1 && text[0] == '&' && lower(text[1]) == 'h';
}

// Appends the first `count` digits as bytes, the last pair first.
void push_digits(std::string_view digits, std::size_t count, std::string& bytes) {
  const std::size_t end = bytes.size() + count / 2;
  bytes.resize(end);
  for (std::size_t i = 0; i < count; i += 2) {
    const int high = hex_digit(digits[i]);
    const int low = hex_digit(digits[i + 1]);
    if (high < 0 || low < 0) {
      raise(ErrorNumber::type_mismatch, cat({"\"", digits, "\" is no hexadecimal number"}));
    }
    bytes[end - 1 - i / 2] = static_cast<char>(high << 4 | low);
  }
}

// The same for a number of `count` digits that has other many: zeros are put before too few. Of too many the leading
// ones are kept, so 300 as a byte is &h12: compiled data depends on it.
void push_padded(std::string_view digits, std::size_t count, std::string& bytes) {
  if (digits.size() >= count) return push_digits(digits, count, bytes);
  std::string padded(count - digits.size(), '0');
  push_digits(padded.append(digits), count, bytes);
}

}  // namespace

std::string SmartNum::kaCodevals(std::string_view values, std::string& kinds) const {
  std::string output;
  std::vector<CodedPointer> pointers;
  if (!values.empty()) {
    TokenWalk value_walk(values, ' ');
    TokenWalk kind_walk(kinds, ',');
    std::string value;
    std::string kind;
    while (value_walk.next(value)) {
      if (!kind_walk.next(kind)) kind.clear();
      code_value({value, to_integer(Val(kind))}, output, pointers);
    }
  }
  kinds = pointer_list(pointers);
  return output;
}

void SmartNum::code_value(const TypedValue& typed, std::string& output, std::vector<CodedPointer>& pointers) const {
  if (is_pointer_kind(typed.kind)) {
    // A literal is carried in the list as it is written; it is converted here so that a wild one fails now.
    if (isvalue(typed.value, false)) CPtr(typed.value);
    pointers.push_back({std::string(typed.value), to_long(static_cast<double>(output.size())), typed.kind});
    output += kPointerPlaceholder;
  } else if (typed.value.starts_with('$')) {
    // No pointer, so it becomes the number of its user kind (11 byte, 12 word, 13 dword) as text.
    append_number(output, typed.kind + 11);
  } else {
    push(typed.value, -typed.kind, output);
  }
}

std::string SmartNum::pointer_list(std::span<const CodedPointer> pointers) {
  std::string list;
  for (const CodedPointer& pointer : pointers) {
    list += cat({list.empty() ? "" : ",", pointer.value, ",", pointer.position, ",", pointer.kind});
  }
  return list;
}

std::vector<CodedPointer> SmartNum::listed_pointers(std::string_view list) {
  std::vector<CodedPointer> pointers;
  if (list.empty()) return pointers;
  TokenWalk walk(list, ',');
  std::string value;
  std::string position;
  std::string kind;
  while (walk.next(value) && walk.next(position) && walk.next(kind)) {
    pointers.push_back({value, to_long(whole_number_text(position)), to_integer(Val(kind))});
  }
  return pointers;
}

std::string SmartNum::kaRipvals(std::string_view bytes, std::string_view kinds) const {
  std::string result;
  if (kinds.empty()) return result;
  std::vector<std::string> tokens;
  split(kinds, ',', tokens);
  for (std::size_t position = 1; position <= tokens.size(); ++position) {
    int size = width(-to_integer(Val(tokens[position - 1])), 2);
    if (position < tokens.size() && tokens[position].starts_with('$')) size = 4;
    const std::string_view piece =
        position > bytes.size() ? std::string_view() : bytes.substr(position - 1, static_cast<std::size_t>(size));
    if (position > 1) result += ' ';
    rip_value(piece, result);
  }
  return result;
}

void SmartNum::rip_value(std::string_view bytes, std::string& text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  text += "&h";
  for (std::size_t i = bytes.size(); i-- > 0;) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
}

bool SmartNum::isvalue(std::string_view text, bool allow_dollar) {
  // Here a capital "&H" does not make a value, whatever it reads as; for the tokenizer it does.
  return !text.starts_with("&H") && is_value(text, allow_dollar);
}

std::string SmartNum::numberpush(std::string_view value, int kind) const {
  std::string bytes;
  push(value, kind, bytes);
  return bytes;
}

void SmartNum::push(std::string_view value, int kind, std::string& bytes) const {
  if (kind >= 1) {
    std::string digits(value);
    replace_all(digits, "&h", "");
    if (digits.size() % 2 != 0) digits.insert(digits.begin(), '0');
    return push_digits(digits, digits.size(), bytes);
  }
  const auto count = static_cast<std::size_t>(width(kind, 1));
  // User kinds, from 10 up, are pointers in a kind list but plain numbers here.
  const bool pointer = kind == -kPointer || kind == -kStringPointer || kind == -kMovementPointer;
  if (!pointer && has_hex_mark(value)) {
    return push_padded(value.substr(2), count, bytes);
  }
  const std::int32_t number = pointer ? CPtr(value) : to_long(Val(value));
  if (hex_length(number) > count) return push_digits(hex(number), count, bytes);
  append_bytes(number, count / 2, bytes);
}

std::size_t SmartNum::digits(std::string_view value, double number) {
  return has_hex_mark(value) ? value.size() - 2 : hex_length(to_long(number));
}

void SmartNum::append_bytes(std::int32_t number, std::size_t size, std::string& bytes) {
  auto left = static_cast<std::uint32_t>(number);
  for (std::size_t i = 0; i < size; ++i, left >>= 8) bytes += static_cast<char>(left & 255);
}

std::string SmartNum::pointer_bytes(std::int32_t pointer) {
  std::string bytes;
  append_bytes(pointer, kPointerPlaceholder.size(), bytes);
  return bytes;
}

std::int32_t SmartNum::pointer_value(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return static_cast<std::int32_t>(value);
}

std::string SmartNum::numberpull(std::string_view bytes, int /*kind*/) {
  std::string text;
  rip_value(bytes, text);
  return text;
}

std::string SmartNum::pointer_name(std::string_view value) {
  const double number = Val(value);
  return number > 0 ? "&h" + hex(to_long(number)) : std::string(value);
}

std::string_view SmartNum::position_text(std::string_view name) {
  const std::size_t dot = name.find('.');
  if (dot == std::string_view::npos) return name;
  const std::string_view text = name.substr(dot + 1);
  const std::string_view last = name.substr(name.rfind('.') + 1);
  return number_prefix(text).length == 0 && number_prefix(last).length > 0 ? last : text;
}

std::int32_t SmartNum::CPtr(std::string_view value) const {
  return CPtr(Val(value));
}

std::int32_t SmartNum::CPtr(double value) const {
  if (bank_->autobank && value > 0 && value < kBankBase) value += kBankBase;
  return to_long(value);
}

SmartNum::Translation SmartNum::STrans(int kind, int mode) {
  if (mode != 0) return width(kind, mode);
  const std::string_view text = label(kind);
  if (text.empty()) return {};
  return text;
}

std::string_view SmartNum::label(int kind) {
  const int index = -kind;
  return index >= 0 && index < static_cast<int>(kLabels.size()) ? kLabels[static_cast<std::size_t>(index)] : "";
}

std::int16_t SmartNum::width(int kind, int mode) {
  int bytes = -kind;
  switch (-kind) {
    case kByte:
    case kCommand:
      bytes = 1;
      break;
    case kWord:
      bytes = 2;
      break;
    case kDword:
    case kPointer:
    case kStringPointer:
    case kMovementPointer:
      bytes = 4;
      break;
    default:
      break;  // every other kind is as wide as its number
  }
  return to_integer(mode == 1 ? bytes * 2 : bytes);
}

}  // namespace tidewright
