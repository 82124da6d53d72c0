#include "base/numbers.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "base/errors.h"
#include "base/text.h"

namespace tidewright {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Reads the digits behind "&h". `start` is where they begin.
NumberPrefix hexadecimal_prefix(std::string_view text, std::size_t start) {
  std::uint32_t bits = 0;
  std::size_t at = start;
  for (; at < text.size(); ++at) {
    const int digit = hex_digit(text[at]);
    if (digit < 0) break;
    if (bits > (std::numeric_limits<std::uint32_t>::max() >> 4)) {
      raise(ErrorNumber::overflow, cat({text.substr(0, 40), " has more than 32 bits"}));
    }
    bits = bits << 4 | static_cast<std::uint32_t>(digit);
  }
  if (at == start) return {};
  return {static_cast<double>(static_cast<std::int32_t>(bits)), at};
}

NumberPrefix decimal_prefix(std::string_view text, std::size_t start) {
  std::size_t at = start;
  std::int64_t whole = 0;
  while (at < text.size() && at - start < 18 && is_digit(text[at])) whole = whole * 10 + (text[at++] - '0');
  const bool plain = at == text.size() || (!is_digit(text[at]) && text[at] != '.' && lower(text[at]) != 'e');
  if (plain) return {static_cast<double>(whole), at == start ? 0 : at};
  double value = 0;
  const auto [end, error] = std::from_chars(text.data() + start, text.data() + text.size(), value);
  const auto length = static_cast<std::size_t>(end - text.data());
  if (error == std::errc::result_out_of_range) {
    // Too near to zero is zero; only too far from it is a fault.
    const std::size_t exponent = text.find_first_of("eE", start);
    if (exponent < length && text.substr(exponent + 1).starts_with('-')) return {0, length};
    raise(ErrorNumber::overflow, text.substr(0, 40));
  }
  if (error != std::errc()) return {};
  return {value, length};
}

[[noreturn]] void does_not_fit(double value, std::string_view width) {
  const std::string digits = std::to_string(value);
  raise(ErrorNumber::overflow, cat({std::string_view(digits).substr(0, digits.find('.')), " is no ", width}));
}

template <class Integer>
Integer narrowed(double value, std::string_view width) {
  const double rounded = std::nearbyint(value);
  if (!(rounded >= std::numeric_limits<Integer>::min() && rounded <= std::numeric_limits<Integer>::max())) {
    does_not_fit(value, width);
  }
  return static_cast<Integer>(rounded);
}

}  // namespace

NumberPrefix number_prefix(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && text[start] == ' ') ++start;
  if (start == text.size()) return {};
  if (text.size() >= start + 2 && text[start] == '&' && lower(text[start + 1]) == 'h') {
    return hexadecimal_prefix(text, start + 2);
  }
  const bool negative = text[start] == '-';
  if (negative || text[start] == '+') ++start;
  if (start == text.size() || !(is_digit(text[start]) || text[start] == '.')) return {};
  NumberPrefix prefix = decimal_prefix(text, start);
  if (negative) prefix.value = -prefix.value;
  return prefix;
}

double Val(std::string_view text) {
  return number_prefix(text).value;
}

double whole_number_text(std::string_view text) {
  const NumberPrefix prefix = number_prefix(text);
  if (prefix.length == 0 || text.find_first_not_of(' ', prefix.length) != std::string_view::npos) {
    raise(ErrorNumber::type_mismatch, cat({"\"", text, "\" is no number"}));
  }
  return prefix.value;
}

std::uint8_t to_byte(double value) {
  return narrowed<std::uint8_t>(value, "byte (0 to 255)");
}
std::int16_t to_integer(double value) {
  return narrowed<std::int16_t>(value, "16-bit number");
}
std::int32_t to_long(double value) {
  return narrowed<std::int32_t>(value, "32-bit number");
}

std::int16_t checked_add(std::int16_t counter, int step) {
  const int sum = counter + step;
  if (sum != static_cast<std::int16_t>(sum)) does_not_fit(sum, "16-bit number");
  return static_cast<std::int16_t>(sum);
}

std::string hex(std::int32_t value) {
  auto bits = static_cast<std::uint32_t>(value);
  std::array<char, 8> digits;
  std::size_t first = digits.size();
  do {
    digits[--first] = kHexDigits[bits & 15];
    bits >>= 4;
  } while (bits != 0);
  return {digits.begin() + first, digits.end()};
}

std::size_t hex_length(std::int32_t value) {
  return (static_cast<std::size_t>(std::bit_width(static_cast<std::uint32_t>(value) | 1U)) + 3) / 4;
}

std::string hex_bytes(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    result += kHexDigits[byte >> 4];
    result += kHexDigits[byte & 15];
  }
  return result;
}

}  // namespace tidewright
