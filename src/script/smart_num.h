// Turns the values of a script line into the bytes that compiled code holds, and bytes back into value text. The
// encoder, the buffers, data lines and burning use it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tidewright {

/// What a pointer's bytes hold until burning patches them. As long as a pointer: four bytes.
inline constexpr std::string_view kPointerPlaceholder = "!PTR";

/// Added to positive pointer values below it while autobank is on.
inline constexpr std::int32_t kBankBase = 0x08000000;

/// The session's autobank setting, on at start. One for the whole program.
struct Bank {
  bool autobank = true;
};

/// The kinds that a value can have. Kind lists carry these numbers in decimal; numberpush and STrans take them negated.
enum Kind : int {
  kByte = 0,
  kWord = 1,
  kDword = 2,
  kPointer = 3,
  kEndOfScript = 4,
  kEnum = 5,
  kMask = 6,
  kCommand = 7,
  kStringPointer = 8,
  kMovementPointer = 9,
};

/// Whether a value of this kind is a pointer: kind 3, and every kind from 8 up.
inline bool is_pointer_kind(int kind) {
  return kind == kPointer || kind >= kStringPointer;
}

/// A value as the script writes it, and what kind it is of.
struct TypedValue {
  std::string_view value;
  int kind = kByte;
};

/// A pointer among coded bytes: a value, and where the placeholder stands for it, 0-based.
struct CodedPointer {
  std::string value;
  std::int32_t position = 0;
  int kind = kPointer;
};

/// The converter. Byte strings hold one byte per character; every number in them is little-endian.
class SmartNum {
 public:
  explicit SmartNum(const Bank& bank) : bank_(&bank) {}

  /// The bytes of all `values` (blank-separated), each as the entry of `kinds` (comma-separated) beside it says.
  /// `kinds` is replaced by the pointer list: triples "value,position,kind" joined by commas, positions 0-based in the
  /// result, where each pointer holds "!PTR". Raises TypeMismatch and Overflow for values that are no numbers.
  std::string kaCodevals(std::string_view values, std::string& kinds) const;

  /// The same for values that are cut and normalised already: their bytes are appended to `output`, their pointers to
  /// `pointers`.
  void code_value(const TypedValue& typed, std::string& output, std::vector<CodedPointer>& pointers) const;

  /// The pointer list of these pointers, and back.
  static std::string pointer_list(std::span<const CodedPointer> pointers);
  static std::vector<CodedPointer> listed_pointers(std::string_view list);

  /// The values read back from `bytes`, separated by single blanks. The position advances by one byte per kind,
  /// whatever the width: callers that read several values pass them one at a time.
  std::string kaRipvals(std::string_view bytes, std::string_view kinds) const;

  /// The same for the one value that is all of `bytes`, appended to `text`.
  static void rip_value(std::string_view bytes, std::string& text);

  /// As is_value(), but a text that begins with a capital "&H" is none.
  static bool isvalue(std::string_view text, bool allow_dollar);

  /// The bytes of one value. A kind of 0 or below gives the width; of a value with too many digits the leading ones are
  /// kept (300 as a byte is &h12). A kind above 0 takes the value as hexadecimal digits of any length. Raises
  /// TypeMismatch for a digit that is none, Overflow beyond 32 bits.
  std::string numberpush(std::string_view value, int kind) const;

  /// How many hexadecimal digits numberpush sees in a value whose numeric reading is `number`.
  static std::size_t digits(std::string_view value, double number);

  /// Appends the lowest `size` bytes of a number; behind the fourth they are zero.
  static void append_bytes(std::int32_t number, std::size_t size, std::string& bytes);

  /// The four bytes of a pointer whose value is known, and back.
  static std::string pointer_bytes(std::int32_t pointer);
  static std::int32_t pointer_value(std::string_view bytes);

  /// "&h" and two upper-case digits for each byte, the last byte first. `kind` does not count.
  static std::string numberpull(std::string_view bytes, int kind);

  /// The name that a pointer is registered by: a number above 0 in its hexadecimal form, any other text as it is.
  static std::string pointer_name(std::string_view value);

  /// What of a label's or pointer's name may be its position: "house.&h1000" carries one behind its first dot. Where
  /// that is no number, as when a name read from a buffer file was given a prefix, what stands behind the last dot may
  /// be one.
  static std::string_view position_text(std::string_view name);

  /// A pointer's 32-bit value: the bank base is added to a value above 0 and below it while autobank is on. Raises
  /// Overflow.
  std::int32_t CPtr(std::string_view value) const;
  std::int32_t CPtr(double value) const;

  /// Mode 0: the label that a decoder prints before a value of this (negated) kind, nothing for an unknown one. Any
  /// other mode: its width, in hexadecimal digits for mode 1, else in bytes. Raises Overflow.
  using Translation = std::variant<std::monostate, std::string_view, std::int16_t>;
  static Translation STrans(int kind, int mode);

  /// The two halves of STrans.
  static std::string_view label(int kind);
  static std::int16_t width(int kind, int mode);

 private:
  /// numberpush, appended to `bytes`.
  void push(std::string_view value, int kind, std::string& bytes) const;

  const Bank* bank_;
};

}  // namespace tidewright
