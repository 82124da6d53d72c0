// One command definition, as the definition directives make it and the encoder reads it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/errors.h"

namespace tidewright {

/// Kind bytes of parameters, beyond the value kinds 0 to 5 of SmartNum.
inline constexpr std::uint8_t kLastValueKind = 5;
inline constexpr std::uint8_t kConstant = 6;   // its description is an "&h" constant
inline constexpr std::uint8_t kNamedByte = 7;  // its description names a command, or is a number
inline constexpr std::uint8_t kFixed = 8;      // from here up: a pointer, fixed where it has a description

/// Whether a parameter takes a value of the script (the end-of-script mark is among them, and takes none).
inline bool takes_value(std::uint8_t kind, std::string_view description) {
  return kind <= kLastValueKind || (kind >= kFixed && description.empty());
}

/// A command of the database, or an alias of one. Parameters are indexed 0 to 15; any other index raises
/// SubscriptOutOfRange.
class tCmd {
 public:
  static constexpr int kParameters = 16;

  bool alias() const { return alias_; }
  void alias(bool value) { alias_ = value; }

  std::uint8_t Parmsise(int index) const { return kinds_[checked(index)]; }
  void Parmsise(int index, std::uint8_t kind) { kinds_[checked(index)] = kind; }

  const std::string& ParmDesc(int index) const { return descriptions_[checked(index)]; }
  void ParmDesc(int index, std::string text) { descriptions_[checked(index)] = std::move(text); }

  std::uint8_t parmcnt() const { return parmcnt_; }
  void parmcnt(std::uint8_t count) { parmcnt_ = count; }

  const std::string& Descriptions() const { return summary_; }
  void Descriptions(std::string text) { summary_ = std::move(text); }

  const std::string& keyword() const { return keyword_; }
  void keyword(std::string text) { keyword_ = std::move(text); }

  /// What the log calls it, "wait [1] ": CmdList gives it when it files the record.
  const std::string& title() const { return title_; }
  void title(std::string text) { title_ = std::move(text); }

  std::uint8_t bytecode() const { return bytecode_; }
  void bytecode(std::uint8_t code) { bytecode_ = code; }

 private:
  static std::size_t checked(int index) {
    if (index < 0 || index >= kParameters) {
      raise(ErrorNumber::subscript_out_of_range, "a command has at most sixteen parameters");
    }
    return static_cast<std::size_t>(index);
  }

  std::uint8_t bytecode_ = 0;
  std::string keyword_;
  std::string summary_;
  std::string title_;
  std::array<std::uint8_t, kParameters> kinds_{};
  std::array<std::string, kParameters> descriptions_;
  std::uint8_t parmcnt_ = 0;
  bool alias_ = false;
};

}  // namespace tidewright
