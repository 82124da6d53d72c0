// Buffer files: what the buffers hold written to a file, byte for byte, and read back; damaged files.
#include <functional>
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "base/text.h"
#include "tests/buffers/buffer_test.h"
#include "tests/outcome.h"

namespace tidewright {
namespace {

using namespace std::string_literals;

// The fields of a file, as a test writes them.
std::string word(int value) {
  return {static_cast<char>(value & 255), static_cast<char>(value >> 8 & 255)};
}
std::string dword(std::int64_t value) {
  return word(static_cast<int>(value & 65535)) + word(static_cast<int>(value >> 16 & 65535));
}
std::string text(const std::string& bytes) {
  return word(8) + word(static_cast<int>(bytes.size())) + bytes;
}
std::string record(int buffer, std::int64_t offset, int mode, const std::string& name) {
  return static_cast<char>(buffer) + dword(offset) + word(mode) + text(name);
}
std::string section(int buffer, const std::string& bytes) {
  return static_cast<char>(buffer) + text(bytes);
}
std::string groups(int count) {
  return std::string(static_cast<std::size_t>(2 * count), '\0');
}
std::string head(const std::string& title = "Tidewright") {
  return text(title) + text("note");
}

class BufferFileTest : public BufferTest {
 protected:
  std::string dropped() {
    session.machine.add_file("/desk/x.buf", "");
    on_file([&] { buffers.writebuffer(); });
    return session.machine.bytes("/desk/x.buf");
  }

  /// What reading a file of these bytes raises; empty when nothing.
  std::string grab(const std::string& bytes, std::string name = "") {
    session.machine.add_file("/desk/x.buf", bytes);
    return on_file([&] { buffers.readbuffer(name); });
  }

  std::string on_file(const std::function<void()>& action) {
    std::string file = "x.buf";
    std::string mode = "read";
    std::string raised;
    files.OpenFile(file, mode);
    try {
      action();
    } catch (const RuntimeError& error) {
      raised = cat({"error ", static_cast<int>(error.number), ": ", error.description});
    }
    files.close_all();
    return raised;
  }

  /// All that the buffers hold, to be compared.
  std::string state() {
    std::string all;
    for (int set = 0; set <= 16; ++set) {
      for (std::size_t i = 1; i <= static_cast<std::size_t>(buffers.count(set)); ++i) {
        const fOffsett point = buffers.get_Point(i, set);
        all += cat({set, ":", point.name, " ", point.buffer, " ", point.Offset, " ", point.mode, "|"});
      }
      if (!buffers.bytes(set).empty()) all += cat({set, "=", buffers.bytes(set), "|"});
    }
    buffers.forget_waiting_label();
    return all;
  }

  FileHandle& files = session.shared->file_handle;
};

TEST_F(BufferFileTest, IsTheseBytes) {
  put(0, "Start", "\x05!PTR", "$House,1,8");
  put(2, "", "ab!PTR", "256,2,3");
  put(2, "House", "z");
  std::int16_t slot = 3;
  buffers.add_Picture({"Bitmap"}, slot);
  buffers.inname("Tail");
  const std::size_t before = session.console.lines.size();
  const std::string bytes = dropped();
  std::string wanted =
      "0800 0A00 54696465777269676874 "                         // the marker
      "0800 0A00 4E4F20434F4D4D454E54 "                         // the comment
      "0200 "                                                   // pointers
      "00 01000000 0800 0800 0600 24686F757365 "                // $house
      "02 420D0300 0300 0800 0500 2668313030 "                  // &h100, at 2 x 100000 + 2
      "0200 "                                                   // labels of buffer 0
      "00 00000000 0300 0800 0500 7374617274 "                  // start
      "00 05000000 0300 0800 0400 7461696C "                    // tail
      "0000 "                                                   // labels of buffer 1
      "0100 "                                                   // labels of buffer 2
      "02 06000000 0300 0800 0500 686F757365 "                  // house
      "00000000000000000000000000000000000000000000000000 00 "  // of buffers 3 to 15
      "00 0800 0500 0521505452 "                                // buffer 0
      "02 0800 0700 6162215054527A";                            // buffer 2
  replace_all(wanted, " ", "");
  EXPECT_EQ(hex_bytes(bytes), wanted);
  std::string told;
  for (std::size_t i = before; i < session.console.lines.size(); ++i) told += session.console.lines[i] + "~";
  EXPECT_NE(told.find("COMMENT BUFFER DROP 10 [NO COMMENT]~DROPPING 2 Pointers~$house at buffer 0 position 1~"
                      "&h100 at buffer 2 position 200002~DROPPING 2 Offsetts~start at buffer 0 position 0~"
                      "tail at buffer 0 position 5~DROPPING 1 Offsetts~house at buffer 2 position 6~"
                      "BUFFER 0 DROP:  [5]~BUFFER 2 DROP:  [7]~|~\\- Processed 2 Buffers~ ~"),
            std::string::npos)
      << told;
  EXPECT_EQ(buffers.bytes(16), "NO COMMENT");
  session.run("#kableewy");
  EXPECT_EQ(grab(bytes), "");
  EXPECT_EQ(state(),
            "0:start 0 0 3|0:tail 0 5 3|0=\x05!PTR|2:house 2 6 3|2=ab!PTRz|"
            "16:$house 0 1 8|16:&h100 2 200002 3|16=NO COMMENT|");
  EXPECT_EQ(dropped(), bytes);
}

TEST_F(BufferFileTest, GrabsWhatOthersWrite) {
  // A pointer's place without its buffer; sections of one buffer, apart, and of the comment; the sibling's marker.
  const std::string bytes = head("Platten") + word(1) + record(2, 7, 3, "There") + groups(1) + word(1) +
                            record(1, 400, 8, "Far") + groups(14) + section(1, "ab") + section(0, "") +
                            section(1, "cd") + section(16, "s");
  put(1, "", "..");
  EXPECT_EQ(grab(bytes), "");
  EXPECT_EQ(state(), "1:Far 1 400 8|1=..abcd|16:There 2 200007 3|16=notes|");
  EXPECT_EQ(buffers.get_Point("&h" + hex(200007), 16).name, "There");
}

TEST_F(BufferFileTest, PlacesAWaitingLabelFirst) {
  buffers.inname("tail");
  EXPECT_EQ(grab(head() + word(0) + groups(16) + section(0, "ab")), "");
  EXPECT_EQ(state(), "0:tail 0 0 3|0=ab|16=note|");
}

TEST_F(BufferFileTest, PutsThePrefixBeforeEveryName) {
  const std::string bytes = head() + word(3) + record(0, 0, 3, "$shop") + record(0, 4, 3, "shop") +
                            record(0, 8, 3, "&h1234") + word(1) + record(0, 12, 3, "shop") + groups(15) +
                            section(0, "!PTR!PTR!PTR.");
  session.machine.add_file("/desk/x.buf", bytes);
  std::string name = "House";
  EXPECT_EQ(on_file([&] { buffers.readbuffer(name); }), "");
  EXPECT_EQ(name, "house.");
  EXPECT_EQ(state(),
            "0:house.shop 0 12 3|0=!PTR!PTR!PTR.|"
            "16:$house.shop 0 0 3|16:house.shop 0 4 3|16:house.&h1234 0 8 3|16=note|");
  // Both names find the label, and the number stays one: nothing is asked.
  session.run("#autobank off");
  session.run("#kapush house.shop 0x40");
  session.machine.add_file("/desk/game.bin", "");
  session.run("#kapop game.bin");
  EXPECT_TRUE(session.machine.user().boxes.empty());
  EXPECT_EQ(hex_bytes(buffers.bytes(0)),
            "400000004000000034120000"
            "2E");
}

TEST_F(BufferFileTest, LeavesOtherFilesAlone) {
  put(0, "a", "b");
  const std::string before = state();
  for (const std::string& bytes : {""s, "\x08"s, text("Tidewright").substr(0, 13), text("tidewright") + "rest",
                                   text("Tidewright ") + "rest", "\x09" + text("Tidewright").substr(1)}) {
    EXPECT_EQ(grab(bytes), "");
    EXPECT_EQ(session.machine.user().boxes.back().text, "NOT A Tidewright Buffer file!");
    EXPECT_EQ(session.machine.user().boxes.back().kind, MemoryBox::Kind::message);
    EXPECT_EQ(state(), before);
  }
  EXPECT_EQ(session.machine.user().boxes.size(), 6U);
}

TEST_F(BufferFileTest, DamageChangesNothing) {
  put(0, "there", "!PTR", "there,0,3");
  std::int16_t slot = 4;
  buffers.add_Picture({"Bitmap"}, slot);
  const std::string before = state();
  const std::string none = word(0) + groups(16);
  const std::string one = head() + word(1);            // 24 bytes
  const std::string two = head() + word(0) + word(1);  // 26 bytes
  struct Case {
    std::string bytes, raised;
  };
  for (const Case& c : std::initializer_list<Case>{
           {text("Tidewright") + word(7), "62 the comment, at byte 14"},
           {text("Tidewright") + word(7) + word(4) + "note", "13 the comment, at byte 14"},
           {text("Tidewright") + word(8) + word(-1) + "note", "6 the comment, at byte 14"},
           {head() + word(-2), "6 the number of pointers, at byte 22"},
           {one + record(17, 0, 3, "p"), "9 the buffer of pointer 1, at byte 24"},
           {one + record(1, -1, 3, "p"), "9 the offset of pointer 1, at byte 25"},
           {one + record(1, 200000, 3, "p"), "9 the offset of pointer 1, at byte 25"},
           {one + record(0, 100000, 3, "p"), "9 the offset of pointer 1, at byte 25"},
           {one + record(0, 0, 3, "p"), "457 the offset of pointer 1, at byte 25"},
           {head() + word(0) + word(-1), "6 the number of labels of buffer 0, at byte 24"},
           {two + record(1, 0, 3, "l"), "9 the buffer of label 1 of buffer 0, at byte 26"},
           {two + record(0, -5, 3, "l"), "9 the offset of label 1 of buffer 0, at byte 27"},
           {two + record(0, 0, 3, "There"), "457 the name of label 1 of buffer 0, at byte 33"},
           {head() + none + section(17, "x"), "9 the buffer of section 1, at byte 56"},
           {head() + none + section(5, "x") + section(4, "x"), "13 the content of section 2, at byte 63"}}) {
    SCOPED_TRACE(c.raised);
    const std::size_t blank = c.raised.find(' ');
    const std::string raised = grab(c.bytes);
    EXPECT_TRUE(raised.starts_with("error " + c.raised.substr(0, blank) + ":")) << raised;
    EXPECT_NE(raised.find(c.raised.substr(blank) + " of x.buf"), std::string::npos) << raised;
    EXPECT_EQ(state(), before);
  }
}

// What is kept of a file cut at any byte is what the whole fields before the cut say.
TEST_F(BufferFileTest, KeepsWhatStandsBeforeACut) {
  const std::string fields[] = {text("Tidewright"),   text("note"),         word(2),
                                record(0, 1, 3, "p"), record(1, 2, 3, "q"), word(1),
                                record(0, 4, 3, "l"), groups(15),           section(0, "abcde"),
                                section(7, "xyz")};
  const std::string kept[] = {"", "",           "16=note|", "",         "16:p 0 1 3|", "16:q 1 100002 3|",
                              "", "0:l 0 4 3|", "",         "0=abcde|", "7=xyz|"};
  std::string whole;
  for (const std::string& field : fields) whole += field;
  const auto expected = [&](std::size_t size) {
    // Records of state(), in its order, of the fields that lie before the cut.
    std::string all[17];
    std::size_t end = 0;
    for (std::size_t i = 0; i < std::size(fields) && (end += fields[i].size()) <= size; ++i) {
      const std::string& item = kept[i + 1];
      if (!item.empty()) all[std::stoi(item)] += item;
    }
    if (all[16].starts_with("16=")) all[16] = all[16].substr(8) + "16=note|";
    return all[0] + all[7] + all[16];
  };
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SCOPED_TRACE(size);
    session.run("#kableewy");
    const std::size_t boxes = session.machine.user().boxes.size();
    const std::string raised = grab(whole.substr(0, size));
    const std::size_t sections = whole.size() - fields[8].size() - fields[9].size();
    const bool whole_fields = size == sections || size == sections + fields[8].size() || size == whole.size();
    if (size < fields[0].size()) {
      EXPECT_EQ(session.machine.user().boxes.size(), boxes + 1);
    } else {
      EXPECT_EQ(raised.substr(0, 9), whole_fields ? "" : "error 62:") << raised;
    }
    EXPECT_EQ(state(), expected(size));
  }
  // A count and a length that promise more than there is.
  session.run("#kableewy");
  EXPECT_NE(grab(head() + word(32767) + record(0, 1, 3, "p")).find("the buffer of pointer 2, at byte 36"),
            std::string::npos);
  EXPECT_EQ(state(), "16:p 0 1 3|16=note|");
}

TEST_F(BufferFileTest, HoldsLongBuffersAndManyRecords) {
  std::string content;
  for (int i = 0; content.size() < 70000; ++i) content += cat({i, ' '});
  for (int i = 0; i < 9000; ++i) put(3, cat({"label", i}), "");
  for (int i = 0; i < 9000; ++i) put(0, "", "abcd", cat({"label", i, ",0,3"}));
  put(5, "", content);
  const std::string bytes = dropped();
  const std::string end = section(5, content.substr(0, 32767)) + section(5, content.substr(32767, 32767)) +
                          section(5, content.substr(65534));
  EXPECT_TRUE(bytes.ends_with(end));
  const std::string before = state();
  session.run("#kableewy");
  EXPECT_EQ(grab(bytes), "");
  EXPECT_EQ(state(), before);
}

TEST_F(BufferFileTest, WritesNothingThatDoesNotFit) {
  const std::string most(32767, 'n');
  const std::function<void()> too_much[] = {[&] { buffers.buffer(16, most + "n"); }, [&] { put(1, most + "n", ""); },
                                            [&] { put(0, "", "!PTR", most + "n,0,3"); },
                                            [&] {
                                              for (int i = 0; i < 32767; ++i) put(15, cat({i}), "");
                                              buffers.default_buffer = 15;
                                              buffers.inname("one more, waiting");
                                            },
                                            [&] {
                                              for (int i = 0; i < 32768; ++i)
                                                put(static_cast<std::uint8_t>(i % 2), "", "abcd", "p,0,3");
                                            }};
  for (const auto& prepare : too_much) {
    session.run("#kableewy");
    buffers.default_buffer = 0;
    prepare();
    EXPECT_EQ(error_of([&] { buffers.check_writable(); }), 6);
    EXPECT_EQ(dropped(), "");
  }
  session.run("#kableewy");
  buffers.buffer(16, most);
  put(1, most, "");
  EXPECT_EQ(error_of([&] { buffers.check_writable(); }), 0);
}

TEST_F(BufferFileTest, LeavesOutPointersOfADecoder) {
  put(0, "", "!PTR", "a,0,3");
  buffers.pointerpoke("&h8001234,3,134222388,3");
  const std::string bytes = dropped();
  session.run("#kableewy");
  EXPECT_EQ(grab(bytes), "");
  EXPECT_EQ(state(), "0=!PTR|16:a 0 0 3|16=NO COMMENT|");
}

}  // namespace
}  // namespace tidewright
