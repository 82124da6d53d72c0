// A place in a buffer: a label, a pointer that waits for its target, or the point of the next write.
#pragma once

#include <cstdint>
#include <string>

namespace tidewright {

/// How a chunk was written, as its label's mode; it tells the decompiler what the chunk is.
inline constexpr std::int16_t kCodeMode = 3;
inline constexpr std::int16_t kTextMode = 8;
inline constexpr std::int16_t kDataMode = 9;

struct fOffsett {
  std::int16_t mode = 0;    // a pointer's kind; for a point, how it was written: 3 code, 8 text, 9 data
  std::uint8_t buffer = 0;  // 0 to 16
  std::int32_t Offset = 0;  // 0-based byte position in the buffer; of a registered pointer, buffer x 100000 + position
  std::string name;         // the label, or the target of a pointer as the script writes it
};

}  // namespace tidewright
