// Any bytes as a script: it ends, everything is closed again, and what was compiled comes back.
#include "tests/fuzz/fuzz.h"

namespace {

constexpr std::string_view kDatabase =
    "#addcmmd stop 0\n#addparm 4\n#addcmmd walk 5\n#addparm 0\n#addparm 1\n#addcmmd call 6\n#addparm 3\n"
    "#addcmmd pick 7\n#addparm 5 select(3,&h7,90)\n#addcmmd some 8\n#addparm 0 bind(1,2)walk\n#addcmmd say 9\n"
    "#addparm 8\n#alias go there\n#addparm 7 walk\n#addparm 0\n#addparm 6 &h0001\n#define many 0x12\n"
    "#addtext an 0x82\n#addctrl end 0xFF\n#do\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tidewright::fuzz::Trial;
  Trial trial;
  trial.machine.add_file("/desk/base/includes.psh", kDatabase);
  trial.machine.add_file("/desk/game.bin", std::string(512, '\5'));
  trial.run("#boot");
  if (trial.script({reinterpret_cast<const char*>(data), size})) tidewright::fuzz::come_back(trial);
  return 0;
}
