// What decoding wants to know beyond the bytes it is given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "script/smart_num.h"
#include "tables/define_table.h"

namespace tidewright {

/// A pointer that is registered in the bytes of a labelled chunk.
struct NamedPointer {
  std::size_t position = 0;  // 0-based in the chunk
  std::string_view name;
  int kind = -1;  // as it is registered; -1 where that does not count
};

struct Surroundings {
  /// The names that code lines pass through; a text that they would change is not written. May be null.
  const DefineTable* defines = nullptr;

  /// Of a labelled chunk: its registered pointers, by position.
  std::span<const NamedPointer> pointers;

  /// Of raw data: its place in the image, the image's length in bytes (0 when the data is all there is), and the
  /// offsets of the sections that are written already, where another one ends. May be null.
  std::int32_t offset = 0;
  std::int64_t image_length = 0;
  const std::set<std::int32_t>* sections = nullptr;
};

/// How far raw data was decoded: the bytes that became commands, and whether the script goes on behind them, beyond the
/// piece that was given.
struct Decoded {
  std::size_t bytes = 0;
  bool goes_on = false;
};

/// The name of the pointer that "$n" refers to; empty where `token` is no such reference or n is not registered.
std::string_view referred_name(std::string_view token, std::span<const NamedPointer> pointers);

/// `line` with each blank-separated reference "$n" replaced by the name of its pointer, where it has one.
std::string with_pointer_names(std::string_view line, std::span<const NamedPointer> pointers);

/// Whether a script can say this name: one word that no line cuts or changes.
bool is_writable_name(std::string_view name);

}  // namespace tidewright
