// The buffers, their labels and pointers, and burning them into a file.
#include <functional>
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "tests/buffers/buffer_test.h"
#include "tests/outcome.h"

namespace tidewright {
namespace {

using namespace std::string_literals;

class FileBufferTest : public BufferTest {
 protected:
  /// Burns into game.bin, which holds `size` bytes "."; the file afterwards.
  std::string burned(std::size_t size = 0) {
    session.machine.add_file("/desk/game.bin", std::string(size, '.'));
    return burned_again();
  }
  std::string burned_again() {
    std::string name = "game.bin";
    std::string mode = "read";
    session.shared->file_handle.OpenFile(name, mode);
    buffers.burnbuffer();
    session.shared->file_handle.close_all();
    return session.machine.bytes("/desk/game.bin");
  }

  /// The console lines since the last call that hold `word`, joined by "~".
  std::string told(std::string_view word = "") {
    std::string text;
    for (; told_ < session.console.lines.size(); ++told_) {
      const std::string& line = session.console.lines[told_];
      if (line.find(word) != std::string::npos) text += (text.empty() ? "" : "~") + line;
    }
    return text;
  }

  /// The boxes so far, each as "title/text~".
  std::string all_boxes() {
    std::string text;
    for (const MemoryBox& box : session.machine.user().boxes) text += box.title + "/" + box.text + "~";
    return text;
  }

 private:
  std::size_t told_ = 0;
};

TEST_F(FileBufferTest, AppendsAtTheCurrentPointAndRenewsIt) {
  EXPECT_EQ(buffers.inmode(), 3);
  put(2, "", "abcd", "256,0,3");
  EXPECT_EQ(buffers.inbuffer() + buffers.inmode() + buffers.inoffsett(), 0);
  EXPECT_EQ(buffers.inname(), "");
  put(2, "here", "efg", "House,1,8,$x,2,3,&hff,3,9,12ab,4,3,0,5,3,-4,6,3");
  put(1, "", "0123456789abcdef");
  put(1, "", "!PTR", "last,0,3");
  buffers.inbuffer(7);
  EXPECT_EQ(buffers.previous_buffer(), 0);
  EXPECT_EQ(buffers.bytes(2), "abcdefg");
  EXPECT_EQ(told(),
            "- log &h100 in buffer 2 at byte: 0~- log house in buffer 2 at byte: 5~- log $x in buffer 2 at byte: 6"
            "~- log &hFF in buffer 2 at byte: 7~- log &hC in buffer 2 at byte: 8~- log 0 in buffer 2 at byte: 9"
            "~- log -4 in buffer 2 at byte: 10~- log last in buffer 1 at byte: 16");
  EXPECT_EQ(buffers.count(16), 8);
  EXPECT_EQ(buffers.count(2), 1);
  EXPECT_EQ(buffers.get_Point("&h186B0", 16).name, "last");
  EXPECT_EQ(buffers.get_Point(2, 16).Offset, 200005);
  EXPECT_EQ(buffers.get_Point(2, 99).mode, 8);
  const fOffsett label = buffers.get_Point("HERE", 2);
  EXPECT_EQ(label.name + " " + std::to_string(label.Offset) + std::to_string(label.buffer), "here 42");
  EXPECT_EQ(buffers.inname(), "here");
  EXPECT_EQ(buffers.get_Point("there", 2).name, "");
  EXPECT_EQ(buffers.get_Point(2, 2).name, "");
  buffers.add_Value("&h102 &h5", "1,0");
  EXPECT_EQ(hex_bytes(buffers.bytes(0)), "020105");
}

TEST_F(FileBufferTest, RefusesBeforeAnythingIsAppended) {
  put(0, "Start", "ab");
  put(1, "start", "ab");
  EXPECT_EQ(error_of([&] { put(0, "start", "cd", "x,0,3"); }), 457);
  EXPECT_EQ(error_of([&] { put(17, "", "cd"); }), 9);
  EXPECT_EQ(error_of([&] { put(16, "label", "cd"); }), 9);
  EXPECT_EQ(error_of([&] { put(0, "", "cd", "x,0,3,y,99998,3"); }), 6);
  buffers.inname("");
  EXPECT_EQ(std::string(buffers.bytes(0)) + std::to_string(buffers.count(16)), "ab0");
  put(0, "", "cd", "x,99997,3");
  EXPECT_EQ(buffers.count(16), 1);
  EXPECT_EQ(error_of([&] { buffers.buffer(-1); }), 9);
  EXPECT_EQ(error_of([&] { buffers.buffer(17, {}); }), 9);
  EXPECT_EQ(error_of([&] { buffers.count(17); }), 9);
  EXPECT_EQ(error_of([&] { buffers.get_Point("x", -1); }), 9);
  EXPECT_EQ(error_of([&] { buffers.Get_Data(1, 16); }), 9);
}

TEST_F(FileBufferTest, KeepsObjectsApartFromBytes) {
  std::int16_t slot = -1;
  buffers.inbuffer(4);
  buffers.add_Picture({"Object Type"}, slot);
  buffers.add_Picture({"Bitmap"}, slot);
  buffers.add_Picture({"Icon"}, slot);
  EXPECT_EQ(slot, 4);
  put(4, "", "bytes");
  put(5, "", "bytes");
  buffers.add_Picture({"Icon"}, slot = 5);
  const std::string notice = "/This Buffer typed as :";
  EXPECT_EQ(all_boxes(), notice + "Bitmap~" + notice + "Bitmap~" + notice + "String~");
  EXPECT_EQ(std::string(buffers.bytes(4)) + std::string(buffers.bytes(5)), "bytes");
}

TEST_F(FileBufferTest, CutsChunksAtTheLabels) {
  put(3, "", "..");
  put(3, "a", "12");
  put(3, "", "34");
  put(3, "empty", "");
  put(3, "b", "567");
  const std::string_view chunks[] = {"", "1234", "", "567", ""};
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(buffers.Get_Data(i, 3), chunks[i]) << i;
  buffers.Get_Data(3, 3);
  EXPECT_EQ(buffers.inname() + std::to_string(buffers.inoffsett()), "b6");
  buffers.buffer(3, std::string("123"));
  EXPECT_EQ(buffers.Get_Data(3, 3), "") << "a label beyond the end";
}

TEST_F(FileBufferTest, PointerPeekNamesWhatIsRegisteredBehindThePoint) {
  put(1, "", "..");
  put(1, "call", "x!PTR!PTR", "house,1,3,$door,5,3");
  buffers.get_Point("call", 1);
  std::string text = "call $2 $6 $3 $2";
  buffers.PointerPeek(text, "2,3,6,3,3,0");
  EXPECT_EQ(text, "call house $door $3 house");
  buffers.get_Point("call", 2);
  buffers.PointerPeek(text = "$2", "2,3");
  EXPECT_EQ(text, "$2");
}

TEST_F(FileBufferTest, PointerpokeRegistersUnderTheValue) {
  buffers.pointerpoke("&h8000100,3,&h8000200,8,&h8000100,9");
  EXPECT_EQ(buffers.count(16), 2);
  EXPECT_EQ(buffers.get_Point("&H8000200", 16).Offset, 0x200);
  EXPECT_EQ(buffers.inmode(), 8);
  EXPECT_EQ(told().substr(0, 19), "&h8000100~&h8000100");
  session.shared->bank.autobank = false;
  buffers.pointerpoke("&h8000300,3");
  EXPECT_EQ(buffers.get_Point(3, 16).Offset, 0);
}

TEST_F(FileBufferTest, BurnsLabelsAtTheirDistance) {
  put(0, "A", std::string(16, 'a'));
  put(0, "B", "bbbb");
  put(1, "C", "c");
  put(1, "D.&h1C", "dd");
  put(1, "E", "e");
  put(2, "&h24", "f");
  const std::string image = std::string(16, 'a') + "bbbbc......." + "dde....." + ".f..";
  EXPECT_EQ(burned(40), image.substr(0, 36) + "f...");
  EXPECT_EQ(told("Pushed"),
            " - Pushed A to 0~ - Pushed B to 10~ - Pushed C to 14~ - Pushed D.&h1C to 1C"
            "~ - Pushed E to 1E~ - Pushed &h24 to 24");
}

TEST_F(FileBufferTest, MeasuresFromTheLastLabelThatWasNotPushed) {
  buffers.pushoffsett("p", 99);
  buffers.pushoffsett("P", 0x20);
  EXPECT_EQ(told(), " - Pushed p to 63~ - Pushed P to 20");
  put(0, "a", "1234");
  put(0, "b", "56");
  put(0, "p", "78");
  put(0, "c", "9");
  // c lies 4 bytes behind b in the buffer, so 4 behind p in the file.
  EXPECT_EQ(burned(40), "123456" + std::string(26, '.') + "78..9...");
  EXPECT_EQ(told("Putting"), " - Putting [1234] at 0~ - Putting [56] at 4~ - Putting [78] at 20~ - Putting [9] at 24");
}

TEST_F(FileBufferTest, PatchesPointersInTheirOwnBufferAgainAndAgain) {
  buffers.pushoffsett("far", 0x1234);
  put(0, "start", "!PTR!PTR", "far,0,3,$far,4,3");
  put(1, "more", "!PTR!PTR", "&h500,0,3,spot.&h600,4,3");
  put(2, "rest", "!PTR!PTR", "more,0,3,&h9000000,4,3");
  const std::string image =
      "3412000834120008"
      "0005000800060008"
      "0800000800000009";
  EXPECT_EQ(hex_bytes(burned()), image);
  EXPECT_EQ(told("Adjusting more"), " - Adjusting more in 2 at 8000008");
  EXPECT_EQ(hex_bytes(burned()), image);
  session.shared->bank.autobank = false;
  EXPECT_EQ(hex_bytes(burned()).substr(0, 8), "34120000");
  EXPECT_TRUE(session.machine.user().boxes.empty());
}

TEST_F(FileBufferTest, AsksForAFloatingPointerOnceInEachBurn) {
  put(0, "start", "!PTR", "nowhere,0,3");
  session.machine.user().input_answers = {"0x700", "", "start"};
  EXPECT_EQ(hex_bytes(burned()), "00070008");
  EXPECT_EQ(hex_bytes(burned()), "00000000");
  EXPECT_EQ(hex_bytes(burned()), "00000000");
  const std::string boxes = all_boxes();
  const std::string asked = "Floating Pointer must be pushed/Enter offset for nowhere:~";
  EXPECT_EQ(boxes, asked + asked + "/Floating Pointers Must Be Pushed~" + asked + "/Floating Pointers Must Be Pushed~");
}

TEST_F(FileBufferTest, TellsWhatMovesOrIsNotWritten) {
  put(0, "a", std::string(40000, 'a'));
  put(0, "b", "0123456789");
  put(0, "c", "c");
  put(1, "", "lost");
  put(2, "", "lo");
  put(2, "d", "d");
  put(3, "", "x!PTR", "a.&h8,1,3");
  buffers.buffer(3, std::string("1"));
  buffers.pushoffsett("d", -1);
  const std::string image = burned();
  ASSERT_EQ(image.size(), 80011U);
  EXPECT_EQ(image.substr(0, 40011), std::string(40000, 'a') + "0123456789" + '\0');
  EXPECT_EQ(image.back(), 'c');
  EXPECT_EQ(hex_bytes(buffers.bytes(3)), "3108000008") << "a pointer beyond the end is appended";
  const std::string all = told();
  for (const std::string_view what : {" - Label b lies beyond", " - Label c lies beyond", "Skipped label d of buffer 2",
                                      " 4 bytes before the first label of buffer 1", "Invalid Offsett 0xFFFFFFFF",
                                      " 2 bytes before the first label of buffer 2", "Skipped"}) {
    EXPECT_NE(all.find(what), std::string::npos) << what;
    EXPECT_EQ(all.find(what), all.rfind(what)) << what;
  }
  EXPECT_TRUE(session.shared->file_handle.troubled());
}

TEST_F(FileBufferTest, ChecksItsPlanBeforeItWrites) {
  const std::string dots(8, '.');
  put(0, "a.&h10", "12345678");
  put(1, "b.&h14", "xy");
  put(2, "c.&h7FFFFFFE", "cut");
  put(3, "d.&h15", "z");
  EXPECT_EQ(burned(8), dots + std::string(8, '\0') + "1234xz78");
  const std::string all = told();
  EXPECT_NE(all.find("Skipped label c.&h7FFFFFFE"), std::string::npos) << "it ends beyond the 32-bit range";
  EXPECT_NE(all.find(" - Chunks overlap: a.&h10 from 10 and b.&h14 from 14; b.&h14 is written last"),
            std::string::npos);
  EXPECT_NE(all.find(" - Chunks overlap: a.&h10 from 10 and d.&h15 from 15; d.&h15 is written last"),
            std::string::npos);
  EXPECT_NE(all.find(" - The file has grown from 8 to 24 bytes"), std::string::npos);

  buffers.pushoffsett("d.&h15", 8 + (1 << 20) - 1);
  EXPECT_EQ(burned(8).size(), 8U + (1 << 20)) << "a MiB more is not asked about";
  buffers.pushoffsett("d.&h15", 8 + (1 << 20));
  session.machine.user().yes_no_answers = {false, true};
  EXPECT_EQ(burned(8), dots);
  EXPECT_NE(told("Nothing is burned"), "");
  EXPECT_EQ(burned(8).size(), 9U + (1 << 20));
  EXPECT_EQ(session.machine.user().boxes.back().text, "The file would grow from 8 to 1048585 bytes. Burn?");

  told();
  session.machine.set_attributes("/desk/game.bin", kReadOnly);
  EXPECT_EQ(error_of([&] { burned_again(); }), 0);
  buffers.burnbuffer();
  EXPECT_NE(told("Nothing is burned").find("no data file is open"), std::string::npos);
}

}  // namespace
}  // namespace tidewright
