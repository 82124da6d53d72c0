// The two decompilers: the script they write into buffer 16, to the character, and what they echo. A line end of a
// script is shown as "~".
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "base/text.h"
#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

using namespace std::string_literals;

constexpr const char* kDatabase[] = {
    "#addcmmd walk 5; #addparm 1; #addcmmd jump 0x10; #addparm 3; #addcmmd say 0x11; #addparm 8",
    "#addcmmd dance 0x12; #addparm 9; #addcmmd leave 0x13; #addparm 3; #addparm 4; #addcmmd stop 2; #addparm 4",
    "#alias march; #addparm 7 walk; #addparm 6 0x0020; #addctrl end 0xFE; #addctrl nl 0x0A; #do"};

std::string shown(std::string text) {
  replace_all(text, kLineEnd, "~");
  return text;
}

std::string repeated(int times, const std::string& text) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

class DecompilerTest : public testing::Test {
 protected:
  DecompilerTest() { define(session); }

  static void define(Session& in) {
    for (const char* const line : kDatabase) in.run(line);
  }

  void put(int buffer, const std::string& label, int mode, const std::string& bytes, const std::string& pointers = "") {
    buffers.inbuffer(static_cast<std::uint8_t>(buffer));
    buffers.inname(label);
    buffers.inmode(static_cast<std::int16_t>(mode));
    buffers.add_Data(bytes, pointers);
  }

  /// What the log gains meanwhile, with line feeds.
  std::string echoed(const std::function<void()>& action) {
    const std::size_t before = session.log().size();
    action();
    std::string lines = session.log().substr(before);
    replace_all(lines, kLineEnd, "\n");
    return lines;
  }

  std::string script() const { return shown(std::string(session.bytes(16))); }

  /// Everything in the buffers 0 to 15, labels and pointers.
  static std::string contents(Session& in) {
    FileBuffer& all = in.shared->file_buffer;
    std::string text;
    for (int b = 0; b < FileBuffer::kLabelSets; ++b) {
      if (!in.bytes(b).empty()) text += cat({"\n", b, ": ", hex_bytes(in.bytes(b))});
      for (std::int32_t i = 1; i <= all.count(b); ++i) {
        const fOffsett& label = all.get_Point(static_cast<std::size_t>(i), b);
        text += cat({" ", label.name, "@", label.Offset, "/", label.mode});
      }
      for (const fOffsett* pointer : all.placed_pointers(b)) text += cat({" ", pointer->name, ">", pointer->Offset});
    }
    return text;
  }

  /// The same once the script in buffer 16 is compiled.
  std::string compiled() {
    Session fresh;
    define(fresh);
    fresh.machine.add_file("/desk/back.psc", session.bytes(16));
    fresh.run("#include back.psc");
    EXPECT_TRUE(fresh.machine.user().boxes.empty());
    return contents(fresh);
  }

  /// Opens game.bin with these bytes from `offset` on and decompiles there.
  std::string raw(std::int32_t offset, std::int16_t kind, const std::string& image) {
    session.machine.add_file("/desk/game.bin", image);
    std::string name = "game.bin";
    std::string mode = "read";
    files.OpenFile(name, mode);
    const std::string lines = echoed([&] { control.kascriptraw(offset, kind); });
    files.close_all();
    left = cat({offset, ",", kind});
    return lines;
  }

  Session session;
  FileHandle& files = session.shared->file_handle;
  FileBuffer& buffers = session.shared->file_buffer;
  Control& control = session.shared->control;
  std::string left;  // what kascriptraw left in its arguments
};

TEST_F(DecompilerTest, WithoutBytesOnlyTheCommentMarkIsAdded) {
  buffers.buffer(16, Slot("was &h1"));
  EXPECT_EQ(echoed([&] { control.KaScript(); }), "");
  EXPECT_EQ(script(), "//was &h1");
}

TEST_F(DecompilerTest, WritesASectionForEachLabel) {
  buffers.buffer(16, Slot("note &hAB"));
  put(2, "Text.&h80", 8, "HE;y\n\xFE");
  put(0, "house", 3, "\x05\x1F\x20\x10!PTR\x10\x01\x02\x00\x08\x05\x20\x00"s, "$shop,4,3");
  put(0, "bytes", 9, "\x01\xFF");
  put(0, "none", 5, "ab");
  put(0, "two", 3, "\x02\x02\x77");
  const std::string wanted =
      "//note 0xAB~~#ORG house 0~walk 0x201F~jump $shop~jump 0x8000201~march~~#ORG bytes 0~#move 0x1 0xFF ~~#ORG none "
      "0~"
      "~~#ORG two 0~stop~stop~#raw 0x77~~#ORG Text.0x80 2~=HE;y\\nl\\end";
  EXPECT_EQ(echoed([&] { control.KaScript(); }),
            "READ OFFSETT 1 : 0\n    - > [\x05\x1F\x20\x10!PTR\x10\x01\x02\x00\x08\x05\x20\x00]\n"
            "    - DEBUNKED: walk &h201F; jump $shop; jump &h8000201; march\n"
            "READ OFFSETT 2 : 16\n    - > [\x01\xFF]\nRECORDS NOT IMPLIMENTED. Assumed RAW data\n"
            " - MOVEMENT DATA ASSUMED\n"
            "READ OFFSETT 3 : 18\n    - > [ab]\n - A chunk of kind 5: its 2 bytes are left out\n"
            "READ OFFSETT 4 : 20\n    - > [\x02\x02\x77]\n    - DEBUNKED: stop; stop; #raw &h77\n"
            "READ OFFSETT 1 : 0\n    - > [HE;y\n\xFE]\n"s);
  EXPECT_EQ(script(), wanted);
  session.run("#fulllog on");
  const std::string lines = echoed([&] { control.KaScript(); });
  EXPECT_NE(lines.find("    - = [walk &h201F; jump $5; jump $10; march]\n    - DEBUNKED: walk &h201F; jump $shop; jump "
                       "&h8000201; march\n"),
            std::string::npos)
      << lines;
  EXPECT_EQ(script(), "//" + wanted + wanted.substr(wanted.find('~'))) << "all sections once more";
}

TEST_F(DecompilerTest, PointersBehindTheEndOfABufferAreTold) {
  put(2, "here", 3, "\x02", "$shop,1,3,$inn,2,3");
  EXPECT_TRUE(echoed([&] {
                control.KaScript();
              }).ends_with(" - 2 pointers stand behind the end of buffer 2: they are left out\n"));
}

// Chunks, their bodies, and that these give the chunks again.
TEST_F(DecompilerTest, NothingOfAChunkIsLost) {
  struct Case {
    int mode;
    std::string bytes, pointers, body;
  };
  const std::string ff = "#move 0xFF ";
  for (const Case& c : std::initializer_list<Case>{
           // Code: references count from the start of the chunk. It never begins like data.
           {3, "\x10!PTR\x10!PTR\x05\x21\x00"s, "$a,1,3,$b.&h8,6,3", "jump $a~jump $b.0x8~walk 0x0021"},
           {3, "\x77\x78\x02", "", "#inline 0x77 0x78~stop"},
           {3, "", "", ""},
           // Texts, one line for each terminator; they end where a pointer stands.
           {8, "ab\xFEyz", "", "=ab\\end~=yz"},
           {8, "\xFE\xFE", "", "=\\end~=\\end"},
           {8, "", "", "="},
           {8, " a  'b //c &h1 =", "", "=#20a #20'b //c &#681 ="},
           {8, "ab\xFEy!PTRz", "$a,4,3", "=ab\\end~#raw 0x79~#inline $a~#raw 0x7A"},
           {8, "!PTR\x02", "$a,0,3", "=~#inline $a~stop"},
           // Records: behind each &hFF and 256 bytes further lines; the same about pointers.
           {9, "\x01\x02\x03\x04\x05\x06\x07", "", "#move 0x1 0x2 0x3 0x4 0x5 0x6 ~#move 0x7 "},
           {9, "\x01\x02\x03\x04\x05\x06", "", "#move 0x1 0x2 0x3 0x4 0x5 0x6 "},
           {9, "\xFF\xFF\x05", "", ff + "~" + ff + "~#move 0x5 "},
           {9, "", "", "#move "},
           {9, "\x05!PTR\x06\x07\xFF", "$a,1,3", "#move 0x5 ~#inline $a~#raw 0x06 0x07 0xFF"},
           {9, "!PTR!PTR", "$a,0,3,b,4,3", "#move ~#inline $a~#inline $b"},
           {9, std::string(600, 'A'), "",
            "#move " + repeated(6, "0x41 ") + "~#move " + repeated(250, "0x41 ") + "~#move " + repeated(6, "0x41 ") +
                "~#move " + repeated(250, "0x41 ") + "~#move " + repeated(6, "0x41 ") + "~#move " +
                repeated(82, "0x41 ")},
       }) {
    SCOPED_TRACE(c.body);
    buffers = FileBuffer(files, session.shared->bank);
    put(1, "first", 3, "\x02");
    put(1, "it", c.mode, c.bytes, c.pointers);
    put(1, "next", 3, "\x02");
    control.KaScript();
    EXPECT_EQ(script(), "//~~#ORG first 1~stop~~#ORG it 1~" + c.body + "~~#ORG next 1~stop");
    std::string names = contents(session);
    replace_all(names, " b>", " $b>");  // an inline pointer is written with its mark
    EXPECT_EQ(compiled(), names);
  }
}

TEST_F(DecompilerTest, TellsWhatNoSectionCanHold) {
  for (const auto& [name, told] : std::initializer_list<std::pair<std::string, bool>>{
           {"two words", true}, {"a;b", true}, {"it's", true}, {"a\"b", true}, {"x0x1", true}, {"town.&h10", false}}) {
    buffers = FileBuffer(files, session.shared->bank);
    put(0, name, 3, "\x02");
    const std::string lines = echoed([&] { control.KaScript(); });
    EXPECT_EQ(lines.find(" - No script can say the name of the label " + name) != std::string::npos, told) << lines;
  }
  buffers = FileBuffer(files, session.shared->bank);
  put(3, "", 3, "\x02\x02\x02");
  put(3, "late", 3, "\x02");
  EXPECT_NE(echoed([&] { control.KaScript(); }).find(" - 3 bytes of buffer 3 belong to no label"), std::string::npos);
  session.run("#silent on");
  for (int i = 0; i < 32768; ++i) put(4, cat({"label", i}), 3, "");
  put(4, "", 3, "\x02");
  EXPECT_EQ(error_of([&] { control.KaScript(); }), 6);
}

TEST_F(DecompilerTest, FollowsThePointersOfAnImage) {
  // Code, a text, movements (which end in &hFF), code that leaves: each at its place, in the order met.
  std::string image(0x100, '\x77');
  image.replace(4, 19, "\x05\x20\x00\x11\x40\x00\x00\x08\x12\x60\x00\x00\x08\x10\x80\x00\x00\x08\x02"s);
  image.replace(0x40, 6, "HO&h1\xFE");
  image.replace(0x60, 8, "\x01\x02\x03\x04\x05\x06\x07\xFF");
  image.replace(0x80, 6, "\x05\x01\x00\x13\x04\x00"s);
  image.replace(0x86, 2, "\x00\x08"s);
  const std::string wanted =
      "~#ORG 0x4~march~say &h08000040~dance &h08000060~jump &h08000080~stop~~#ORG 0x40~=HO&#681\\end"
      "~#ORG 0x60~#move &h1 &h2 &h3 &h4 &h5 &h6 ~#move &h7 &hFF ~#ORG 0x80~walk &h0001~leave &h08000004~";
  EXPECT_EQ(raw(4, 3, image),
            "|Pulling Offsett: \n|    - DEBUNKED: march; say &h08000040; dance &h08000060; jump &h08000080; stop\n"
            "|&h8000040\n|&h8000040\n|&h8000040\n|Pulling Offsett: &h8000040\n|Pulling Offsett: &h8000060\n"
            "|RECORDS NOT IMPLIMENTED. Assumed RAW data\n| - MOVEMENT DATA ASSUMED\n|Pulling Offsett: &h8000080\n"
            "|    - DEBUNKED: walk &h0001; leave &h08000004\n|&h8000040\n");
  EXPECT_EQ(script(), wanted);
  EXPECT_EQ(left, "0,0");
}

TEST_F(DecompilerTest, ReadsRawDataOfEachKind) {
  struct Case {
    std::int32_t offset;
    std::int16_t kind;
    std::string image, script;
  };
  std::string far(0x1236, '\0');
  far.replace(0x1234, 2, "\x02\x02");
  const std::string long_code = "." + repeated(400, "\x05\x01\x00"s) + "\x02";
  for (const Case& c : std::initializer_list<Case>{
           {0, 3, "\x02", ""},
           {4660, 3, far, "~#ORG 0x1234~stop~"},
           {1, 5, ".\x02", "~#ORG 0x1~"},
           {1, 0, ".\x02", "~#ORG 0x1~"},
           {1, -1, ".\x02", "~#ORG 0x1~"},
           {1, 3, ".\x05\x01\x00\x77\x02"s, "~#ORG 0x1~walk &h0001~' the byte 0x77 at 0x4 begins no command~"},
           {1, 3, ".\x10\x01\x00\x00\x08\x02"s, "~#ORG 0x1~jump &h08000001~stop~"},
           {1, 3, long_code,
            "~#ORG 0x1~" + repeated(333, "walk &h0001~") + "~#ORG 0x3E8~" + repeated(67, "walk &h0001~") + "stop~"},
           {1, 8, ".ab\xFEyz", "~#ORG 0x1~=ab\\end"},
           {1, 8, ".ab", "~#ORG 0x1~=ab"},
           {1, 8, "." + std::string(1500, 'a'), "~#ORG 0x1~=" + std::string(1000, 'a')},
           {1, 9, ".ab", "~#ORG 0x1~#move &h61 &h62 "},
           {1, 12, "." + std::string(300, 'a'),
            "~#ORG 0x1~#move " + repeated(6, "&h61 ") + "~#move " + repeated(250, "&h61 ")},
           {2, 3, ".", "~#ORG 0x2~~"},
           {1, 8, ".", "~#ORG 0x1~="},
           {1, 9, ".", "~#ORG 0x1~#move "},
           {-2, 3, "\x02", "~#ORG 0xFFFFFFFE~stop~"},
       }) {
    SCOPED_TRACE(c.script);
    buffers = FileBuffer(files, session.shared->bank);
    const std::string lines = raw(c.offset, c.kind, c.image);
    EXPECT_EQ(script(), c.script);
    EXPECT_EQ(lines.find("Pulling Offsett: ") == std::string::npos, c.offset == 0) << lines;
    EXPECT_EQ(lines.find("Invalid Offsett 0xFFFFFFFE") != std::string::npos, c.offset < 0) << lines;
    const bool behind = c.offset < 0 || c.offset >= static_cast<std::int32_t>(c.image.size());
    EXPECT_EQ(lines.find("The file has no place") != std::string::npos, behind) << lines;
    EXPECT_EQ(lines.find("RECORDS NOT IMPLIMENTED. Assumed RAW data") != std::string::npos, c.kind > 8) << lines;
  }
}

TEST_F(DecompilerTest, NoByteOfAnImageIsWrittenTwice) {
  // A jump back into the run, a text and movements that reach into sections written before them.
  std::string image(0x30, '\x77');
  image.replace(0x10, 16, "\x11\x24\x00\x00\x08\x11\x22\x00\x00\x08\x12\x21\x00\x00\x08\x02"s);
  image.replace(0x21, 7, "\x01HOME\xFEx");
  raw(0x10, 3, image);
  EXPECT_EQ(script(),
            "~#ORG 0x10~say &h08000024~say &h08000022~dance &h08000021~stop~~#ORG 0x24~=ME\\end~#ORG 0x22~=HO"
            "~#ORG 0x21~#move &h1 ");
  // A buffer that is full gives way to the next one.
  buffers = FileBuffer(files, session.shared->bank);
  session.run("#silent on");
  raw(1, 3, "." + repeated(33500, "\x05\x01\x00"s) + "\x02");
  const std::string lines = script();
  const std::size_t second = lines.find(" 1~");
  EXPECT_EQ(lines.substr(second - 13, 16), "~#ORG 0x1863D 1~");
  EXPECT_EQ(lines.find(" 1~", second + 1), std::string::npos);
}

TEST_F(DecompilerTest, RawProgressDiffersFromThatOfChunks) {
  session.run("#fulllog on; #autobank off");
  EXPECT_EQ(raw(1, 3, ".\x05\x20\x00\x02"s),
            "|Pulling Offsett: \n|    - = [walk &h0020; stop]\n|    - DEBUNKED: march; stop\n");
  EXPECT_EQ(script(), "~#ORG 0x1~march~stop~");
}

TEST_F(DecompilerTest, CountsItsRoundsInSixteenBits) {
  session.run("#silent on");
  for (int i = 1; i <= 32767; ++i) buffers.pointerpoke(cat({"&h", hex(0x8000000 + i), ",5"}));
  EXPECT_EQ(error_of([&] { raw(40000, 5, ""); }), 6);
  files.close_all();
}

}  // namespace
}  // namespace tidewright
