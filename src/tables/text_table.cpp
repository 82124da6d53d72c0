#include "tables/text_table.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"

namespace tidewright {
namespace {

constexpr char kHashMark = '#';
constexpr char kCtrlMark = '\\';
constexpr std::string_view kTokenizedHash = "&h";  // what the tokenizer makes of "#" in a text behind a code line
constexpr std::size_t kLongestNotation = 4;        // "&h" and two digits

bool is_byte_notation(std::string_view text) {
  return text.size() >= 3 && text[0] == kHashMark && hex_digit(text[1]) >= 0 && hex_digit(text[2]) >= 0;
}

char byte_of(char high, char low) {
  return static_cast<char>(hex_digit(high) << 4 | hex_digit(low));
}

std::string byte_notation(char byte) {
  return kHashMark + hex_bytes(std::string_view(&byte, 1));
}

// A name or value of an entry: "&h..." is its digit pairs in the order written, any other text is itself.
std::string literal(std::string_view text) {
  if (!text.starts_with(kTokenizedHash)) return std::string(text);
  std::string digits(text.substr(kTokenizedHash.size()));
  if (digits.size() % 2 != 0) digits.insert(digits.begin(), '0');
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    if (hex_digit(digits[i]) < 0 || hex_digit(digits[i + 1]) < 0) {
      raise(ErrorNumber::type_mismatch, cat({"\"", text, "\" is no hexadecimal number"}));
    }
    bytes += byte_of(digits[i], digits[i + 1]);
  }
  return bytes;
}

// Whether `form`, written behind `written`, would come out of a script line changed: line ends, tabs, blanks at the
// ends or side by side; "&h", which a decompiled script writes as "0x"; and a leading "=", which repeats the text.
bool suffers_in_a_line(std::string_view form, std::string_view written, bool last) {
  if (form.find_first_of("\t\r\n") != std::string_view::npos || form.find("  ") != std::string_view::npos) return true;
  if (form.starts_with(' ') && (written.empty() || written.ends_with(' '))) return true;
  if (form.ends_with(' ') && last) return true;
  if (form.find(kTokenizedHash) != std::string_view::npos) return true;
  if (form.starts_with('h') && written.ends_with('&')) return true;
  return form.starts_with('=') && written.empty();
}

}  // namespace

void TextTable::add(std::string_view name, std::string_view value, Word word) {
  Entry entry;
  entry.bytes = literal(value);
  entry.form = literal(name);
  if (entry.bytes.empty() || entry.form.empty()) {
    raise(ErrorNumber::invalid_call, cat({"the text entry ", name, " has no value"}));
  }
  if (word != Word::text) {
    make_lower(entry.form);
    entry.ends_text = word == Word::ctrl && entry.form == "end";
    entry.form.insert(entry.form.begin(), word == Word::hash ? kHashMark : kCtrlMark);
  }
  // Any byte must stay writable as "#" and two digits, whatever entries there are.
  if (is_byte_notation(entry.form) && (entry.form.size() == 3 || entry.form[3] == kHashMark)) {
    raise(ErrorNumber::invalid_call, cat({entry.form, " would hide the notation of a byte"}));
  }
  Index& forms = word == Word::text ? characters_ : names_;
  if (!forms.add(entry.form, entries_.size())) raise(ErrorNumber::duplicate_key, name);
  values_.add(entry.bytes, entries_.size());
  entries_.push_back(std::move(entry));
}

const TextTable::Entry* TextTable::longest(const Index& index, std::string_view source) const {
  for (const std::size_t length : index.lengths) {
    if (length > source.size()) continue;
    const auto found = index.positions.find(source.substr(0, length));
    if (found != index.positions.end()) return &entries_[found->second];
  }
  return nullptr;
}

TextTable::Match TextTable::match_text(std::string_view text) const {
  const bool tokenized = text.starts_with(kTokenizedHash);
  Match best{1, nullptr, text[0]};
  if (const Entry* const entry = longest(characters_, text)) {
    best = {entry->form.size(), entry, 0};
  }
  if (!tokenized && text[0] != kHashMark && text[0] != kCtrlMark) return best;

  // Marked forms are looked up as "#..." in lower case; `extra` is what "&h" takes more than "#" in the source.
  const std::size_t extra = tokenized ? 1 : 0;
  std::string marked(text.substr(extra, std::max<std::size_t>(names_.longest(), 3)));
  if (tokenized) marked[0] = kHashMark;
  make_lower(marked);
  if (const Entry* const entry = longest(names_, marked);
      entry != nullptr && entry->form.size() + extra > best.length) {
    best = {entry->form.size() + extra, entry, 0};
  }
  if (is_byte_notation(marked) && 3 + extra >= best.length) best = {3 + extra, nullptr, byte_of(marked[1], marked[2])};
  return best;
}

TextTable::Match TextTable::match_bytes(std::string_view bytes) const {
  if (const Entry* const entry = longest(values_, bytes)) return {entry->bytes.size(), entry, 0};
  return {1, nullptr, bytes[0]};
}

std::string TextTable::text_to_bytes(std::string_view text) const {
  std::string bytes;
  while (!text.empty()) {
    const Match match = match_text(text);
    if (match.entry != nullptr) {
      bytes += match.entry->bytes;
    } else {
      bytes += match.byte;
    }
    text.remove_prefix(match.length);
  }
  return bytes;
}

/// Text under construction: what is written, and what each piece of it must be read as.
class TextTable::Writer {
 public:
  explicit Writer(const TextTable& table) : table_(table) {}

  const std::string& text() const { return text_; }

  /// Appends `form`, to be read as `entry`, or as `byte` where there is none. False, and nothing appended, when the
  /// text would then not be read as it is meant: forms that stand side by side can be read as another, longer one.
  bool append(std::string_view form, const Entry* entry, char byte) {
    pieces_.push_back({text_.size(), entry, byte});
    text_ += form;
    if (reads_back()) return true;
    text_.resize(pieces_.back().start);
    pieces_.pop_back();
    return false;
  }

  bool append_notation(std::string_view bytes) {
    for (const char byte : bytes) {
      if (!append(byte_notation(byte), nullptr, byte)) return false;
    }
    return true;
  }

 private:
  struct WrittenPiece {
    std::size_t start;
    const Entry* entry;
    char byte;
  };

  // Looks again at the pieces that are near enough to the end for what was appended to change their reading.
  bool reads_back() const {
    const std::size_t reach =
        std::max<std::size_t>({table_.characters_.longest(), table_.names_.longest() + 1, kLongestNotation});
    const std::size_t appended = pieces_.back().start;
    std::size_t end = text_.size();
    for (auto piece = pieces_.rbegin(); piece != pieces_.rend() && piece->start + reach > appended;
         end = piece->start, ++piece) {
      if (!reads_on(appended - piece->start, text_.size() - piece->start)) continue;
      const Match match = table_.match_text(std::string_view(text_).substr(piece->start));
      if (match.length != end - piece->start || match.entry != piece->entry) return false;
      if (match.entry == nullptr && match.byte != piece->byte) return false;
    }
    return true;
  }

  // Whether a piece behind which `before` bytes stood, its own among them, can be read otherwise now that there are
  // `now`.
  bool reads_on(std::size_t before, std::size_t now) const {
    return before < kLongestNotation || table_.characters_.has_between(before, now) ||
           table_.names_.has_between(before - 1, now);  // "&h" takes one more
  }

  const TextTable& table_;
  std::string text_;
  std::vector<WrittenPiece> pieces_;
};

std::string TextTable::bytes_to_text(std::string_view bytes) const {
  Writer writer(*this);
  for (std::string_view left = bytes; !left.empty();) {
    const Match match = match_bytes(left);
    const std::string_view source = left.substr(0, match.length);
    left.remove_prefix(match.length);
    const bool plain = match.entry != nullptr || (match.byte >= ' ' && match.byte <= '~');
    const std::string_view form = match.entry != nullptr ? std::string_view(match.entry->form) : source;
    const bool written =
        plain && !suffers_in_a_line(form, writer.text(), left.empty()) && writer.append(form, match.entry, match.byte);
    if (written || writer.append_notation(source)) continue;
    // Entries that overlap the notation itself: the notation alone is always read as it stands.
    Writer notation(*this);
    notation.append_notation(bytes);
    return notation.text();
  }
  return writer.text();
}

std::size_t TextTable::length_of_text(std::string_view bytes) const {
  std::size_t length = 0;
  while (length < bytes.size()) {
    const Match match = match_bytes(bytes.substr(length));
    length += match.length;
    if (match.entry != nullptr && match.entry->ends_text) break;
  }
  return length;
}

}  // namespace tidewright
