#include "base/errors.h"

namespace tidewright {

std::string_view error_name(ErrorNumber number) {
  switch (number) {
    case ErrorNumber::invalid_call:
      return "Invalid procedure call or argument";
    case ErrorNumber::overflow:
      return "Overflow";
    case ErrorNumber::out_of_memory:
      return "Out of memory";
    case ErrorNumber::subscript_out_of_range:
      return "Subscript out of range";
    case ErrorNumber::type_mismatch:
      return "Type mismatch";
    case ErrorNumber::bad_file_number:
      return "Bad file name or number";
    case ErrorNumber::file_not_found:
      return "File not found";
    case ErrorNumber::bad_file_mode:
      return "Bad file mode";
    case ErrorNumber::file_already_open:
      return "File already open";
    case ErrorNumber::device_io:
      return "Device I/O error";
    case ErrorNumber::disk_full:
      return "Disk full";
    case ErrorNumber::input_past_end:
      return "Input past end of file";
    case ErrorNumber::device_unavailable:
      return "Device unavailable";
    case ErrorNumber::permission_denied:
      return "Permission denied";
    case ErrorNumber::path_access:
      return "Path/File access error";
    case ErrorNumber::path_not_found:
      return "Path not found";
    case ErrorNumber::not_available:
      return "Not available yet";
    case ErrorNumber::duplicate_key:
      return "This key is already associated with an element of this collection";
  }
  return "Unknown error";
}

void raise(ErrorNumber number, std::string_view detail) {
  std::string description(error_name(number));
  if (!detail.empty()) description.append(": ").append(detail);
  throw RuntimeError{number, std::move(description)};
}

}  // namespace tidewright
