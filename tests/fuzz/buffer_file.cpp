// Any bytes as a buffer file: what is read can be written, read again and decoded. The first byte says whether names
// get a prefix.
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tidewright::fuzz::Trial;
  if (size == 0) return 0;
  Trial trial;
  trial.script("#addcmmd walk 5\n#addparm 0\n#addcmmd call 6\n#addparm 3\n#addcmmd stop 7\n#addctrl end 0xFF\n#do\n");
  trial.machine.add_file("/desk/wild.buf", {reinterpret_cast<const char*>(data + 1), size - 1});
  trial.carry_out(data[0] % 2 == 0 ? "#kapeek wild.buf" : "#kapeek wild.buf House");
  tidewright::fuzz::come_back(trial);
  return 0;
}
