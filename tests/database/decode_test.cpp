// Bytes become command text again, and commands the aliases that stand for them.
#include <gtest/gtest.h>

#include "base/numbers.h"
#include "base/text.h"
#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

/// A session with a database, and bytes to decode with it.
struct Decoding : Session {
  explicit Decoding(std::initializer_list<std::string> definitions) {
    for (const std::string& lines : definitions) run(lines);
    run("#do");
    around.defines = &shared->define_table;
  }

  /// Takes pairs of digits, and "<name>" for a pointer that is registered under that name.
  void take(const std::string& words) {
    bytes.clear();
    names.clear();
    pointers.clear();
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < words.size();
         at = words.find(' ', at) == std::string::npos ? words.size() : words.find(' ', at) + 1) {
      const std::string word = words.substr(at, words.find(' ', at) - at);
      if (word[0] == '<') {
        places.push_back(bytes.size());
        names.push_back(word.substr(1, word.size() - 2));
        bytes += kPointerPlaceholder;
      } else {
        bytes += static_cast<char>(to_byte(Val("&h" + word)));
      }
    }
    for (std::size_t i = 0; i < places.size(); ++i) pointers.push_back({places[i], names[i]});
    around.pointers = pointers;
  }

  /// "text|list" of a labelled chunk.
  std::string chunk(const std::string& words) {
    take(words);
    std::string list;
    shared->cmd_list.decode(bytes, list, false, around);
    return bytes + "|" + list;
  }

  /// "text|list|bytes decoded and on" of a piece of an image of 0x2000 bytes, up to `left` bytes before its end.
  std::string raw(const std::string& words, std::size_t left, const std::set<std::int32_t>& sections) {
    take(words);
    around.image_length = 0x2000;
    around.offset = static_cast<std::int32_t>(0x2000 - left - bytes.size());
    around.sections = &sections;
    std::string list;
    const Decoded decoded = shared->cmd_list.decode(bytes, list, true, around);
    return cat({bytes, "|", list, "|", decoded.bytes, decoded.goes_on ? " and on" : ""});
  }

  /// What a command becomes whose pointer, "$2", is registered as `name`.
  std::string dealiased(std::string commands, const std::string& name) {
    take("00 <" + name + ">");
    shared->cmd_list.dealias(commands, around);
    return commands;
  }

  std::string bytes;
  std::vector<std::string> names;
  std::vector<NamedPointer> pointers;
  Surroundings around;
};

const std::initializer_list<std::string> kCommands = {
    "#addcmmd stop 0",
    "#addcmmd walk 5;#addparm 0;#addparm 1",
    "#addcmmd put 6;#addparm 2 amount",
    "#addcmmd call &h0A;#addparm 3",
    "#addcmmd say &h0B;#addparm 8",
    "#addcmmd ret &h0C;#addparm 0;#addparm 4",
    "#addcmmd pick &h0D;#addparm 5 select(3,&h7,90)",
    "#addcmmd twin &h0E;#addparm 5 select(1,2,1)",
    "#addcmmd low &h0F;#addparm 1 mask(&h0f)",
    "#addcmmd some &h10;#addparm 0 bind(1,2)walk;#addparm 0",
    "#addcmmd many &h11;#addparm 0 bind(*)some",
    "#addcmmd fix &h12;#addparm 6 &h12;#addparm 6 &h1234;#addparm 6 &h00010002;#addparm 6 &h112233445566",
    "#addcmmd turn &h13;#addparm 7 walk;#addparm 7 33;#addparm 0",
    "#addcmmd tell &h14;#addparm 8 intro",
    "#addcmmd user &h15;#addparm 10",
    "#addcmmd hop &h16;#addparm 6 &h01",
    "#addcmmd jump &h16;#addparm 0",
    "#addcmmd loop &h17;#addparm 0 bind(*)loop",
    "#addcmmd odd &h18;#addparm 0 bind(*)nobody",
    "#addcmmd end &h19;#addparm 4",
    "#addcmmd hop &h1A",
    "#addcmmd long &h1E;#addparm 1",
    "#addcmmd short &h1E",
    "#addcmmd within &h50",
    "#addcmmd 1up &h1B",
    "#addcmmd far &h1C;#addparm 3 select(Gate,&h20)",
    "#addcmmd via &h1D;#addparm 3 bind(*)walk",
};

TEST(Decode, WritesEachKindAsAScriptGivesIt) {
  Decoding base(kCommands);
  for (const std::string row :
       {"00 -> stop|",
        "05 07 34 12 -> walk &h07 &h1234|",
        "06 78 56 34 12 -> put &h12345678|",
        "0A 10 00 00 08 -> call $2|2,3",
        "0A 00 00 00 00 -> call $2|2,3",
        "0B <House> -> say $2|2,8",
        "15 <House> -> user $2|2,10",
        "0A <&h10> -> call $2|2,3",
        "0C 01 00 -> ret &h01; stop|",
        "0D 03 -> pick 0|",
        "0D 5A -> pick 2|",
        "0E 02 -> twin 1|",
        "10 03 04 -> some &h03 &h04|",
        "10 02 08 09 00 0A -> some &h02 &h08 &h0009 &h0A|",
        "11 05 01 08 09 00 0A -> many &h05 &h01 &h08 &h0009 &h0A|",
        "12 12 34 12 02 00 01 00 66 55 44 33 22 11 -> fix|",
        "13 05 21 09 -> turn &h09|",
        "14 <INTRO> -> tell|",
        "16 01 -> hop|",
        "16 02 -> jump &h02|",
        "1C <gate> -> far 0|",
        "1C 20 00 00 08 -> far 1|",
        "1D <&h20> 01 02 00 -> via &h20 &h01 &h0002|",
        "00 00 00 00 00 00 00 00 00 00 0A <a> 0A <b> -> stop; stop; stop; stop; stop; stop; stop; stop; stop; stop; "
        "call $12; call $17|12,3,17,3"}) {
    const auto [words, wanted] = cut(row);
    EXPECT_EQ(base.chunk(words), wanted) << words;
  }
}

TEST(Decode, TakesForDataWhatEncodingWouldNotGive) {
  Decoding base(kCommands);
  for (const std::string row :
       {// A choice that is none, or one of two; what a mask hides; a bind to nothing, or without an end.
        "0D 04 -> #raw &h0D &h04|", "0E 01 -> #raw &h0E &h01|", "0F 0F 00 -> #raw &h0F &h0F; stop|",
        "18 01 -> #raw &h18 &h01|", "17 01 02 -> #raw &h17 &h01 &h02|",
        // A name that only a command can take.
        "77 <$> -> #raw &h77 &h21 &h50 &h54 &h52|", "0A <$> -> call $2|2,3",
        // Fixed bytes and pointers that differ.
        "12 12 35 12 02 00 01 00 66 55 44 33 22 11 -> #raw &h12 &h12 &h35 &h12 &h02; stop; #raw &h01; stop; #raw &h66 "
        "&h55 &h44 &h33 &h22 &h11|",
        "13 05 22 09 -> #raw &h13 &h05 &h22 &h09|", "14 <other> -> #raw &h14; #inline $$2|2,3",
        // Commands cut short.
        "05 07 34 -> #raw &h05 &h07 &h34|", "0A 01 02 03 -> #raw &h0A &h01 &h02 &h03|",
        "10 02 01 -> #raw &h10 &h02 &h01|", "12 12 34 -> #raw &h12 &h12 &h34|", "14 -> #raw &h14|",
        // Pointers: what burning would change, what no line can say, a number in the place of one.
        "0A 77 00 00 01 -> #raw &h0A &h77; stop; stop; #raw &h01|", "0A <12ab> -> #raw &h0A; #inline $$2|2,3",
        "0A <a;b> -> #raw &h0A &h21 &h50 &h54 &h52|", "06 <House> -> #raw &h06; #inline $$2|2,3",
        "05 01 <House> -> #raw &h05 &h01; #inline $$3|3,3",
        "10 02 <House> 05 05 -> #raw &h10 &h02; #inline $$3; #raw &h05 &h05|3,3",
        // Keywords that are taken, or that no line can begin with.
        "1A 00 -> #raw &h1A; stop|", "1B 00 -> #raw &h1B; stop|",
        // Data between commands.
        "00 FF FE 05 01 01 00 FD -> stop; #raw &hFF &hFE; walk &h01 &h0001; #raw &hFD|",
        "00 FF <$gate> <house> FE -> stop; #raw &hFF; #inline $3; #inline $$7; #raw &hFE|3,3,7,3",
        "FF <gate> -> #raw &hFF; #inline $$2|2,3", "FF <&h10> -> #raw &hFF; #raw &h10 &h00 &h00 &h08|",
        "FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FE -> #raw &hFF &hFF &hFF &hFF &hFF &hFF &hFF &hFF &hFF &hFF "
        "&hFF &hFF &hFF &hFF &hFF &hFF; #raw &hFE|"}) {
    const auto [words, wanted] = cut(row);
    EXPECT_EQ(base.chunk(words), wanted) << words;
  }
}

TEST(Decode, TakesForDataWhatAPhraseOrADefineWouldHide) {
  Decoding base(kCommands);
  for (const char* const line : {"#alias walk $1 $2;#addparm 7 stop", "#alias call here;#addparm 7 stop",
                                 "#define stop put", "#define 0x07 9", "#define there 5", "#do"}) {
    base.run(line);
  }
  for (const std::string row :
       {"05 01 02 00 -> #raw &h05 &h01 &h02 &h00|", "00 -> #raw &h00|", "0A <Here> -> #raw &h0A; #inline $$2|2,3",
        "0A <$here> -> call $2|2,3", "0A <hers> -> call $2|2,3", "0A <There> -> #raw &h0A; #inline $$2|2,3",
        "0C 07 -> #raw &h0C &h07|", "0C 08 -> ret &h08|"}) {
    const auto [words, wanted] = cut(row);
    EXPECT_EQ(base.chunk(words), wanted) << words;
  }
}

TEST(Decode, FollowsAnImageToTheEndOfItsScript) {
  struct Case {
    std::string words, wanted;
    std::size_t left = 0;
    std::set<std::int32_t> sections = {};
    bool autobank = true;
  };
  Decoding base(kCommands);
  for (const Case& c : std::initializer_list<Case>{
           {"00 19 00", "stop; end||2"},
           {"0C 01 00", "ret &h01||2", 9},
           {"00 00", "stop; stop||2"},
           {"00 FF 00", "stop; ' the byte 0xFF at 0x1FFE begins no command||1"},
           {"00 05 01", "stop; ' the byte 0x05 at 0x1FFE begins no command||1"},
           // What does not end in the piece goes on behind its last whole command.
           {"00 00", "stop; stop||2 and on", 9},
           {"00 05 01", "stop||1 and on", 9},
           {"00 12 12 34", "stop||1 and on", 9},
           {"00 12 13 34", "stop; ' the byte 0x12 at 0x1FF4 begins no command||1", 9},
           {"00 1E 05", "stop||1 and on", 9},
           {"00 1E 05", "stop; short; ' the byte 0x05 at 0x1FFF begins no command||2"},
           {"05 01", "' the byte 0x05 at 0x1FF5 begins no command||0", 9},
           // It ends where another section begins, but for its own.
           {"00 00 00", "stop; stop||2", 9, {0x1FF4, 0x1FF6}},
           // Pointers into the image are listed once, without the bank base.
           {"0A 10 00 00 08 0B 10 00 00 08 0B FF 1F 00 08",
            "call &h08000010; say &h08000010; say &h08001FFF|&h8000010,3,&h8001FFF,8|15"},
           {"0A 00 20 00 08 0A 00 00 00 08", "call &h08002000; call &h08000000||10"},
           {"0A 00 00 00 00 0A F0 FF FF FF", "call &h00000000; call &hFFFFFFF0||10"},
           {"0A 10 00 00 00", "' the byte 0x0A at 0x1FFB begins no command||0"},
           {"0A 10 00 00 00 0A 10 00 00 08", "call &h00000010; call &h08000010|&h10,3|10", 0, {}, false}}) {
    base.shared->bank.autobank = c.autobank;
    EXPECT_EQ(base.raw(c.words, c.left, c.sections), c.wanted) << c.words;
  }
}

TEST(Dealias, PutsThePhraseThatGivesExactlyTheCommand) {
  Decoding base(kCommands);
  for (const char* const line :
       {"#alias coins $1;#addparm 7 walk;#addparm 6 &h07;#addparm 1",
        "#alias open with coins $1;#addparm 7 coins;#addparm 1", "#alias seven of one;#addparm 7 coins;#addparm 6 1",
        "#alias nine $1 far;#addparm 7 walk;#addparm 6 9;#addparm 1", "#alias go;#addparm 7 many",
        "#alias face;#addparm 7 ret;#addparm 5 select(4,6)", "#alias drop $1 $2;#addparm 7 ret;#addparm 0",
        "#alias wide;#addparm 7 turn;#addparm 6 &h0012", "#alias home;#addparm 7 call;#addparm 6 house",
        "#alias visit $1;#addparm 7 call", "#alias enter;#addparm 7 visit", "#alias say $1 loud;#addparm 7 say",
        "#alias ping;#addparm 7 pong", "#alias pong;#addparm 7 ping", "#alias over;#addparm 7 stop", "#define over 5",
        "#do"}) {
    base.run(line);
  }
  struct Case {
    std::string name, row;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"", "walk &h07 &h0002 -> coins &h0002"},          // of two with as many fixed parts the first
           {"", "walk &h07 &h0001 -> seven of one"},          // through a chain, with more of them
           {"", "walk &h09 &h0300 -> nine &h0300 far"},       //
           {"", "walk &h08 &h0001 -> walk &h08 &h0001"},      //
           {"", "many &h05 &h03 &h04 -> go &h05 &h03 &h04"},  // all values passed on, however many
           {"", "many &h05 &h01 &h08 &h0009 &h0A -> go &h05 &h01 &h08 &h0009 &h0A"},
           {"", "ret &h04 -> ret &h04"},  // a choice of the alias's own, or a value that it drops, is no way back
           {"", "turn &h12 -> turn &h12"},
           {"House", "call $2 -> home"},
           {"$there", "call $2 -> visit $2"},
           {"there", "call $2 -> call $2"},  // which would be another phrase, if not at once
           {"$there", "say $2 -> say $2 loud"},
           {"there", "say $2 -> say $2"},
           {"", "stop -> stop"},
           {"",
            "#raw &h07; walk &h07 &h0002; #inline $$2; walk &h09 &h0001; ' the byte -> "
            "#raw &h07; coins &h0002; #inline $$2; nine &h0001 far; ' the byte"}}) {
    const auto [commands, wanted] = cut(c.row);
    EXPECT_EQ(base.dealiased(commands, c.name), wanted) << commands << " " << c.name;
  }
}

}  // namespace
}  // namespace tidewright
