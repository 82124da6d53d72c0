// Numbers as scripts write them, and the checked conversions between widths.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tidewright {

/// A text read as a number: its value, and how many characters (leading blanks included) belong to it, 0 when the text
/// does not begin with a number.
struct NumberPrefix {
  double value = 0;
  std::size_t length = 0;
};

/// The longest numeric prefix of `text` after leading blanks: decimal digits with sign, fraction and exponent, or "&h"
/// (of either case) and hexadecimal digits. &h80000000 to &hFFFFFFFF are the negative numbers of the same 32 bits; more
/// than 32 bits raise Overflow.
NumberPrefix number_prefix(std::string_view text);

/// The lenient reading: the value of the numeric prefix, 0 when there is none ("12ab" is 12, "ab" is 0).
double Val(std::string_view text);

/// The strict reading: the whole text must be one number, blanks around it allowed. Raises TypeMismatch.
double whole_number_text(std::string_view text);

/// Rounds halves to even. Raise Overflow outside the width: 0 to 255, -32768 to 32767, the 32-bit range.
std::uint8_t to_byte(double value);
std::int16_t to_integer(double value);
std::int32_t to_long(double value);

/// `counter` + `step`; raises Overflow outside the 16-bit range.
std::int16_t checked_add(std::int16_t counter, int step);

/// Upper-case hexadecimal digits of the 32 bits of `value`, without leading zeros: 10 is "A", -1 is "FFFFFFFF".
std::string hex(std::int32_t value);

/// How many digits hex() gives: 1 to 8.
std::size_t hex_length(std::int32_t value);

/// The bytes as upper-case pairs of hexadecimal digits, in order.
std::string hex_bytes(std::string_view bytes);

}  // namespace tidewright
