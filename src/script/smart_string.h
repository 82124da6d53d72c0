// Splits script lines into tokens. Every operation that tokenizes makes a SmartString of its own, so that one
// operation's tokens never disturb another's.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tidewright {

/// The lexical state of one line: its marker, its comment and at most sixteen tokens. Positions are 1-based, token
/// slots 0-based. Comparisons are exact: "&h" is a mark, "&H" is not.
class SmartString {
 public:
  static constexpr int kSlots = 16;

  /// Makes it as new for another line: what an earlier one left in the slots above count() stays.
  void clear();

  /// Folds tabs and runs of spaces in `line` to single spaces and trims both ends. Line ends are kept.
  static void KaScrub(std::string& line);

  /// Cuts `line` into marker (vDirective), comment (vComment) and code (values(0)), and rewrites `line`: scrubbed,
  /// without its marker, empty when all of it is comment. A blank line changes nothing else.
  void kaTrim(std::string& line);

  /// Cuts a line into its statements: kaTrim() of a copy, then kaSplit() of its code at ";".
  void cut(std::string_view line);

  /// Splits `text` into the slots. The sixteenth takes the whole rest, delimiters included. All tokens are normalised
  /// ("0x" and "#" to "&h"), all but the last lower-cased when longer than one character.
  void kaSplit(std::string_view text, char delimiter);

  /// Field `index` (0-based) of a delimited text, as it stands. The text's last character never belongs to a result,
  /// and an index beyond the last delimiter begins anew from the front of the text. Sets count() to 0. Raises
  /// InvalidCall where the field's end lies before its start.
  std::string kasubparm(std::string_view text, std::string_view delimiter, int index);

  /// Builds vStandard from the current tokens: values become "$1", "$2", ...
  void kaStandard();

  /// See is_value().
  static bool isvalue(std::string_view token, bool allow_dollar);

  /// Appends values(from) to values(to) to `text`, without a separator. Raises SubscriptOutOfRange.
  void concat(std::string& text, int from, int to) const;

  /// Index of the last token, as decimal text; the written text must be a 16-bit number (TypeMismatch, Overflow).
  std::string count() const;
  void count(std::string_view text);
  bool docount(int n) const { return count_ == n; }
  /// The same index as a number.
  int last() const { return count_; }

  /// Token `index` (0 to 15) of the last split. Slots above count() keep what an earlier, longer split left there.
  /// Raises SubscriptOutOfRange.
  const std::string& values(int index) const;
  void values(int index, std::string token);

  const std::string& vDirective() const { return directive_; }
  void vDirective(std::string text) { directive_ = std::move(text); }
  const std::string& vComment() const { return comment_; }
  void vComment(std::string text) { comment_ = std::move(text); }
  const std::string& vStandard() const { return standard_; }
  void vStandard(std::string text) { standard_ = std::move(text); }

 private:
  std::string_view take_marker(std::string_view line);
  void cut_comment(const std::string& line);

  std::string directive_;
  std::string comment_;
  std::string standard_;
  std::array<std::string, kSlots> values_;
  std::int16_t count_ = 0;
};

}  // namespace tidewright
