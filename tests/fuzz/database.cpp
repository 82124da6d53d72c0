// Any bytes as a database, and behind the line "----" lines of code for it: what they compile to comes back.
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tidewright::fuzz::Trial;
  const auto [database, lines] = tidewright::fuzz::halves({reinterpret_cast<const char*>(data), size}, "\n----\n");
  Trial trial;
  trial.machine.add_file("/desk/base/includes.psh", database);
  if (!trial.carry_out("#boot")) return 0;
  trial.buffers() = tidewright::FileBuffer(trial.shared->file_handle, trial.shared->bank);
  if (trial.script(lines)) tidewright::fuzz::come_back(trial);
  return 0;
}
