// Any bytes as byte code, with a database that the first of them make: what is decoded, as a labelled chunk or out of
// an image, compiles to the very same bytes.
#include <array>

#include "tests/fuzz/fuzz.h"

namespace {

using tidewright::cat;
using tidewright::FileBuffer;
using tidewright::hex;
using tidewright::hex_bytes;
using tidewright::Val;
using tidewright::fuzz::promise;
using tidewright::fuzz::Trial;

constexpr std::array<std::string_view, 16> kKeywords = {"verb0", "verb1",  "verb2", "move", "raw", "b",
                                                        "0x12",  "$go",    "a=b",   "it's", "12",  "//",
                                                        "v.10",  "inline", "=x",    "&hff"};
constexpr std::array<std::string_view, 32> kParameters = {"0",
                                                          "1",
                                                          "2",
                                                          "3",
                                                          "4",
                                                          "5",
                                                          "8",
                                                          "9",
                                                          "10",
                                                          "200 place",
                                                          "5 select(7,&hfe,33)",
                                                          "2 select(3,9,&h80)",
                                                          "3 select(place,&h200,place)",
                                                          "0 select(1,2,1)",
                                                          "6 &h05",
                                                          "6 &h0102",
                                                          "6 &h0102030405",
                                                          "6 12",
                                                          "6 &h123",
                                                          "7 verb0",
                                                          "7 verb1",
                                                          "7 verb9",
                                                          "7 33",
                                                          "0 bind(3,&h5)verb0",
                                                          "1 bind(*)verb1",
                                                          "3 bind(*,place)verb2",
                                                          "4 bind(1)verb1",
                                                          "0 bind(1,2,3)nobody",
                                                          "0 mask(5)",
                                                          "2 distance",
                                                          "8 place",
                                                          "9 &h100"};
constexpr std::array<std::string_view, 16> kPhrases = {
    "verb0",   "go $1 and $2", "go $1", "go",   "verb1 $1", "$1 verb2", "go there", "go there now",
    "move $1", "&h05 $1",      "=$1",   "it's", "go $2 $1", "go $1 $1", "go $3",    "0x05"};
constexpr std::array<std::string_view, 8> kDefines = {"verb0 verb1", "&h05 7",   "place 0x20", "go went",
                                                      "3 4",         "move raw", "$2 $1",      "=a b"};
constexpr std::array<std::string_view, 8> kTexts = {"text a 0x81",   "text an 0x82",      "text &h 0x83",
                                                    "text #20 0x00", "hash heart 0xF0F1", "ctrl end 0xFF",
                                                    "text = 0x05",   "ctrl n 0x0D0A"};
constexpr std::array<std::string_view, 8> kNames = {"place", "$place", "&h20", "&h08000020",
                                                    "verb0", "go",     "5",    "place.0x30"};

/// The input from its start on; zeros behind its end.
class Source {
 public:
  explicit Source(std::string_view bytes) : left_(bytes) {}

  std::size_t byte() {
    if (left_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return byte;
  }
  template <std::size_t N>
  std::string_view any(const std::array<std::string_view, N>& list) {
    return list[byte() % N];
  }
  std::string_view rest() const { return left_; }

 private:
  std::string_view left_;
};

std::string database(Source& source) {
  std::string lines;
  const auto parameters = [&] {
    for (std::size_t count = source.byte() % 5; count > 0; --count)
      lines += cat({"#addparm ", source.any(kParameters), "\n"});
  };
  for (std::size_t count = 1 + source.byte() % 8; count > 0; --count) {
    lines += cat({"#addcmmd ", source.any(kKeywords), " ", source.byte() % 16, "\n"});
    parameters();
  }
  for (std::size_t count = source.byte() % 6; count > 0; --count) {
    lines += cat({"#alias ", source.any(kPhrases), "\n#addparm 7 ", source.any(kKeywords), "\n"});
    parameters();
  }
  for (std::size_t count = source.byte() % 3; count > 0; --count)
    lines += cat({"#define ", source.any(kDefines), "\n"});
  for (std::size_t count = source.byte() % 4; count > 0; --count) lines += cat({"#add", source.any(kTexts), "\n"});
  return lines + "#do\n";
}

// Bytes with pointers in them, as a chunk of code, of text or of data.
void chunk_comes_back(Trial& trial, Source& source) {
  FileBuffer& buffers = trial.buffers();
  constexpr std::array<std::int16_t, 4> kModes = {3, 3, 8, 9};
  const std::int16_t mode = kModes[source.byte() % kModes.size()];
  std::array<std::pair<std::size_t, std::string_view>, 3> pointers;
  for (auto& [place, name] : pointers) {
    place = source.byte();
    name = source.any(kNames);
  }
  std::string bytes(source.rest());
  std::string list;
  std::size_t end = 0;
  for (const auto& [gap, name] : pointers) {
    const std::size_t place = end + gap % 16;
    if (place > bytes.size()) break;
    bytes.insert(place, "!PTR");
    list += cat({list.empty() ? "" : ",", name, ",", place, ",", 3});
    end = place + 4;
  }
  buffers.inname("start");
  buffers.inmode(mode);
  buffers.add_Data(bytes, list);
  tidewright::fuzz::come_back(trial);
}

// An image that is decoded from some place on: the script, burned into one whose bytes it names are spoiled, mends it.
void image_comes_back(Trial& trial, Source& source) {
  const std::size_t kind = source.byte() % 4 == 0 ? 8 + source.byte() % 3 : 3;
  const std::size_t start = 1 + source.byte() % 32;
  const std::string image(source.rest());
  trial.machine.add_file("/desk/game.bin", image);
  trial.carry_out(cat({"#rawdecode game.bin ", start, " ", kind}));
  const std::string made = cat({"/desk/game", hex(static_cast<std::int32_t>(start)), ".psc"});
  if (!trial.machine.exists(made)) return;
  const std::string script = trial.machine.bytes(made);
  Trial compiler(trial);
  compiler.script(script);
  promise(!compiler.troubled(), "a decoded script has a fault", script + "\n----\n" + compiler.log());
  compiler.buffers().place_waiting_label();
  FileBuffer buffers = compiler.buffers();  // a copy, for its current point moves
  std::string spoiled = image;
  for (int label = 1; label <= buffers.count(0); ++label) {
    const std::size_t size = buffers.Get_Data(static_cast<std::size_t>(label), 0).size();
    const auto place = static_cast<std::size_t>(Val(buffers.inname()));
    promise(place + size <= image.size() || size == 0, "a section reaches beyond the image", script);
    for (std::size_t at = place; at < place + size; ++at) spoiled[at] = static_cast<char>(~image[at]);
  }
  compiler.machine.add_file("/desk/game.bin", spoiled);
  compiler.carry_out("#kapop game.bin");
  const std::string mended = compiler.machine.bytes("/desk/game.bin");
  promise(mended == image, "an image has changed on the road back",
          cat({hex_bytes(image), "\n", hex_bytes(mended), "\n", script}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Source source({reinterpret_cast<const char*>(data), size});
  const bool chunk = source.byte() % 2 == 0;
  Trial trial;
  trial.script(database(source));
  if (chunk) {
    chunk_comes_back(trial, source);
  } else {
    image_comes_back(trial, source);
  }
  return 0;
}
