// The game's character set: which bytes stand for which characters, names and control codes of a text. The directives
// addtext, addhash and addctrl fill it; text lines ("=") are converted with it, and the decompilers convert back.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tidewright {

/// Entries of three kinds: "text" maps characters to bytes, "hash" a name written #name, "ctrl" a control code written
/// \name. In a text, the longest entry at each place wins; "#" (or "&h") and two hexadecimal digits is that byte; any
/// other character is its own code. Names of hash and ctrl entries are found without regard to letter case.
class TextTable {
 public:
  enum class Word { text, hash, ctrl };

  /// Adds an entry. A name or value "&h..." is the characters or bytes of its digit pairs, in the order written; any
  /// other stands as it is. Raises DuplicateKey for a name its kind already has, TypeMismatch for wrong digits,
  /// InvalidCall for an empty value and for a name that would hide the byte notation ("#" and two digits).
  void add(std::string_view name, std::string_view value, Word word);

  /// The bytes of `text`.
  std::string text_to_bytes(std::string_view text) const;

  /// The text of `bytes`, written so that text_to_bytes gives exactly these bytes again, also after the text has been a
  /// line of a script file: what a line would lose is written in the "#" form.
  std::string bytes_to_text(std::string_view bytes) const;

  /// The length in bytes of the text that starts `bytes`: up to and with the first control code named "end", or all.
  std::size_t length_of_text(std::string_view bytes) const;

 private:
  struct Entry {
    std::string form;   // as a text writes it, mark included
    std::string bytes;  // what it stands for
    bool ends_text = false;
  };

  // What stands at one place of a text or of bytes.
  struct Match {
    std::size_t length = 0;  // in the source
    const Entry* entry = nullptr;
    char byte = 0;  // where no entry matched
  };

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
  };

  // Positions of entries by what stands for them, and the lengths that there are, the longest first.
  struct Index {
    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> positions;
    std::set<std::size_t, std::greater<>> lengths;

    bool add(const std::string& key, std::size_t position) {
      lengths.insert(key.size());
      return positions.try_emplace(key, position).second;
    }
    std::size_t longest() const { return lengths.empty() ? 0 : *lengths.begin(); }
    /// Whether one is longer than `shorter`, and at most `most` long.
    bool has_between(std::size_t shorter, std::size_t most) const {
      const auto found = lengths.lower_bound(most);
      return found != lengths.end() && *found > shorter;
    }
  };

  class Writer;

  const Entry* longest(const Index& index, std::string_view source) const;
  Match match_text(std::string_view text) const;
  Match match_bytes(std::string_view bytes) const;

  std::vector<Entry> entries_;
  Index characters_;  // text entries by their form
  Index names_;       // hash and ctrl entries by their form, lower-cased
  Index values_;      // all entries by their bytes, the first of equal ones
};

}  // namespace tidewright
