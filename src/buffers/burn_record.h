// What a burn writes into an image, and what stood there before: the contents of a journal. docs/burning.md describes
// its bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/data_file.h"

namespace tidewright {

/// One write of a burn: the bytes from a label to the next, and where in the image they go. Views into the buffers.
struct BurnChunk {
  std::string_view label;
  std::int32_t position;
  std::string_view bytes;

  std::int64_t end() const { return position + static_cast<std::int64_t>(bytes.size()); }
};

/// A burn as its journal keeps it. Positions and lengths are bytes.
struct BurnRecord {
  /// A chunk that was written: its label and its place.
  struct Entry {
    std::string label;
    std::int64_t position;
    std::int64_t length;
  };

  /// A part of the image that the burn writes without a gap. Stretches stand in ascending order, and none touches
  /// another. `old_bytes` is shorter than `length` where the image ended before.
  struct Stretch {
    std::int64_t position;
    std::int64_t length;
    std::string old_bytes;
  };

  std::int64_t old_length = 0;
  std::int64_t new_length = 0;
  std::uint64_t new_checksum = 0;  // of all stretches as the burn leaves them
  std::vector<Stretch> stretches;
  std::vector<Entry> entries;  // in the order of writing

  /// The record of a burn of `chunks`, in the order of writing, into `image`, which is only read. Raises what reading
  /// raises.
  BurnRecord(DataFile& image, const std::vector<BurnChunk>& chunks);

  /// Whether `image` is as the burn left it: of the same length, with the same bytes in all stretches.
  bool describes(DataFile& image) const;

  /// The bytes of the stretches, as the burn writes them.
  std::int64_t written() const;

  /// The journal's bytes.
  std::string bytes() const;

  /// What every journal begins with.
  static constexpr std::string_view kMark = "TWBURN1\n";

  /// The record that `bytes`, a journal's, hold; nothing where they were cut short or are damaged.
  static std::optional<BurnRecord> read(std::string_view bytes);

 private:
  BurnRecord() = default;
};

}  // namespace tidewright
