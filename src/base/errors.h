// The one kind of error of the program. It is thrown where it arises and caught at one boundary, the outermost line
// given to Control, which shows it with file, line and statement.
#pragma once

#include <string>
#include <string_view>

namespace tidewright {

/// The run-time's usual error numbers, as far as the program raises them.
enum class ErrorNumber : int {
  invalid_call = 5,
  overflow = 6,
  out_of_memory = 7,
  subscript_out_of_range = 9,
  type_mismatch = 13,
  bad_file_number = 52,
  file_not_found = 53,
  bad_file_mode = 54,
  file_already_open = 55,
  device_io = 57,
  disk_full = 61,
  input_past_end = 62,
  device_unavailable = 68,
  permission_denied = 70,
  path_access = 75,
  path_not_found = 76,
  not_available = 445,
  duplicate_key = 457,
};

/// A failure: its number and a description for the user, "Overflow: 300 is no byte".
struct RuntimeError {
  ErrorNumber number;
  std::string description;
};

/// The usual name of an error, "Overflow".
std::string_view error_name(ErrorNumber number);

/// Throws the RuntimeError whose description is the error's name, followed by ": " and `detail` when there is one.
[[noreturn]] void raise(ErrorNumber number, std::string_view detail = {});

}  // namespace tidewright
