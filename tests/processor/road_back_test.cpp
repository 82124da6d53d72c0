// The road back, walked with thousands of random databases and programs: scripts become buffers, buffer files and
// scripts again; images become scripts and are burned again. Whatever was compiled must come back.
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>

#include "base/numbers.h"
#include "base/text.h"
#include "tests/session.h"

namespace tidewright {
namespace {

constexpr int kDatabases = 150;
constexpr int kProgramsOfEach = 4;
constexpr int kImagesOfEach = 4;

struct Parameter {
  int kind = 0;
  std::string description = {};
  std::size_t bound = 0;  // of a bind, the command

  bool resolves(std::string_view word) const { return description.starts_with(word); }
  bool pointer() const { return kind == 3 || kind >= 8; }
  bool takes_value() const { return kind <= 5 ? kind != 4 : kind >= 8 && description.empty(); }
};

struct Command {
  std::string keyword;
  int code = 0;
  std::vector<Parameter> parameters = {};
};

/// Makes a random database, and random programs for it. A `plain` one decodes without a rest: no two entries get in
/// each other's way, and nothing is lost in the bytes.
class Maker {
 public:
  Maker(std::uint32_t seed, bool plain) : random_(seed), plain_(plain) { make_database(); }

  std::vector<std::string> database;

  std::vector<std::string> program() {
    std::vector<std::string> lines;
    const bool has_prefix = !plain_ && chance(15);
    for (int i = has_prefix ? 0 : -1; i < 20; ++i) {
      if (i == -1 || chance(25)) {
        lines.push_back(cat({"#org ", any_case(label()), " ", below(chance(70) ? 3 : 16)}));
      } else if (plain_ || chance(65)) {
        lines.push_back(chance(70) ? code_line() : alias_line());
      } else {
        lines.push_back(data_line());
      }
    }
    return lines;
  }

  /// Bytes that look like code here and there.
  std::string bytes(int count) {
    std::string made;
    while (static_cast<int>(made.size()) < count) {
      const int what = below(6);
      if (what < 3) made += static_cast<char>(any(commands_).code);
      if (what == 3) made += static_cast<char>(below(256));
      if (what == 4) made.append({static_cast<char>(below(256)), static_cast<char>(below(8)), 0, 8});
      if (what == 5) made.append(static_cast<std::size_t>(below(5)), static_cast<char>(chance(50) ? 0 : below(6)));
    }
    return made.substr(0, static_cast<std::size_t>(count));
  }

  int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint32_t>(limit)); }
  bool chance(int percent) { return below(100) < percent; }

 private:
  template <class List>
  typename List::value_type const& any(const List& list) {
    return list[static_cast<std::size_t>(below(static_cast<int>(list.size())))];
  }
  /// One of the pieces between the bars.
  std::string pick(const std::string& pieces) {
    std::vector<std::string> list;
    for (std::size_t at = 0; at <= pieces.size(); at += list.back().size() + 1) {
      list.push_back(pieces.substr(at, pieces.find('|', at) - at));
    }
    return any(list);
  }
  std::string any_case(std::string text) {
    if (!chance(20)) return text;
    for (char& c : text) c = c == 'x' ? c : upper(c);
    return text;
  }
  std::string number(int digits) {
    return cat({"0x", hex(static_cast<std::int32_t>(static_cast<std::uint32_t>(random_()) >> (32 - 4 * digits)))});
  }

  // ---- the database ----

  void make_database() {
    const int count = 3 + below(8);
    for (int i = 0; i < count; ++i) {
      Command made{cat({"verb", i}), plain_ ? 0x30 + i : chance(10) ? 0x50 : 0x30 + below(12)};
      if (!plain_ && chance(25)) {
        made.keyword = pick("move|raw|b|Add|0x12|$go|a=b|it's|x#y|caf\xE9|verb1|a0xb|coins|12|//|inline|v.1|v.2|v.3");
      }
      for (int p = below(5); p > 0; --p) made.parameters.push_back(parameter(i));
      database.push_back(cat({"#addcmmd ", made.keyword, " ", made.code}));
      for (const Parameter& p : made.parameters) database.push_back(cat({"#addparm ", p.kind, " ", p.description}));
      commands_.push_back(std::move(made));
    }
    for (int i = below(6); i > 0; --i) add_alias(i);
    for (int i = plain_ ? 0 : below(3); i > 0; --i) {
      database.push_back(
          cat({"#define ", pick("amount|verb1|place2|0x05|3|coins|phrase1|and"), " ", chance(50) ? "7" : "verb2"}));
    }
    for (int i = below(7); i > 0; --i) {
      database.push_back("#add" + pick("text a 0x81|text an 0x82|text &h 0x83|text #20 0x00|hash heart 0xF0F1|"
                                       "text #3D 0x3D|text 1#27 0x05|ctrl end 0xFF|ctrl n 0x0D"));
    }
    database.emplace_back("#do");
  }

  // "%" is a command that stands above. The second half is not for a plain database.
  Parameter parameter(int count) {
    const std::string text = plain_ || chance(50)
                                 ? pick(
                                       "0|1|2|3|4|8|9|5 select(7,&hfe,33)|6 &h05|6 &h0102|6 &h0102030405|7 %|9 place1|"
                                       "0 bind(3,&h5)%|1 bind(*)%|2 select(3,9,&h80)")
                                 : pick(
                                       "5|7|10|200 place1|6 12|6 &h123|7 verb9|2 distance|0 mask(5)|3 mask(place1)|"
                                       "0 select(1,2,1)|2 select(1,2,1)|3 select(place1,&h200,place1,place2)|"
                                       "3 bind(*,place1)%|2 bind(1,2,3)%|0 bind(1,2,3)verb3|4 bind(1)verb2");
    Parameter made{static_cast<int>(Val(text)), text.substr(std::min(text.find(' '), text.size() - 1) + 1)};
    if (made.description.find('%') == std::string::npos) return made;
    if (count == 0) return {1};
    made.bound = static_cast<std::size_t>(below(count));
    replace_all(made.description, "%", commands_[made.bound].keyword);
    return made;
  }

  void add_alias(int i) {
    std::string phrase = cat({"phrase", i});
    if (!plain_ && chance(30)) phrase = any(commands_).keyword;
    const bool to_alias = !aliases_.empty() && chance(30);
    const Command& target = any(commands_);
    std::string parts = ";#addparm 7 ";
    parts += to_alias ? aliases_.back().substr(0, aliases_.back().find(' ')) : target.keyword;
    const bool passes_on = chance(30);
    int slots = 0;
    for (const Parameter& p : target.parameters) {
      if (!p.takes_value() || (passes_on && chance(50))) continue;
      if (!passes_on && chance(35)) {
        parts += ";#addparm " + (p.pointer() ? pick("8 place1|6 $place2|6 &h20") : pick("6 &h05|6 3|7 verb1"));
      } else {
        phrase += cat({chance(40) ? " and" : "", " $", ++slots});
        if (!passes_on) parts += ";#addparm " + pick("0|1|3|3|2|5 select(2,1,0)|0 mask(3)");
      }
    }
    if (!plain_ && chance(20)) phrase += " place1";
    database.push_back("#alias " + phrase + parts);
    aliases_.push_back(phrase);
  }

  // ---- programs ----

  std::string label() {
    const int i = below(12);
    if (chance(20)) return cat({"house", i, ".", number(3)});
    if (!plain_ && chance(20)) return pick("0x1000|$own|caf\xE9|verb1|x0x5|a.b.c|amount|n#");
    return cat({"place", i});
  }

  std::string pointer() {
    const int what = below(10);
    if (what == 0) return number(3);
    if (what == 1) return cat({"0x080", hex(0x10000 + below(0x1000))});
    if (what == 2) return cat({1 + below(2000)});
    if (what == 3 && !plain_) return chance(50) ? "0" : "0xFFFFFFF0";
    return (chance(30) ? "$" : "") + any_case(label());
  }

  void add_values(const Command& made, std::string& line, int depth) {
    for (const Parameter& p : made.parameters) {
      if (!p.takes_value()) continue;
      if (p.resolves("bind")) {
        const std::string value = pick("3|0x5|5|1|200");
        line += " " + value;
        const bool binds = p.resolves("bind(*") || value == "3" || value == "5" || value == "0x5";
        if (binds && depth < 8) add_values(commands_[p.bound], line, depth + 1);
      } else if (p.kind == 5 || p.resolves("select") || p.resolves("mask")) {
        line += cat({" ", below(4)});
      } else {
        line += " " + (p.pointer()  ? pointer()
                       : chance(30) ? pick(plain_ ? "5|3" : "5|3|amount")
                                    : number(2 << p.kind));
      }
    }
  }

  std::string code_line() {
    const Command& made = any(commands_);
    std::string line = made.keyword;
    add_values(made, line, 0);
    return any_case(line);
  }

  std::string alias_line() {
    if (aliases_.empty()) return code_line();
    std::string line;
    const std::string& phrase = any(aliases_);
    for (const char c : phrase) line += c == '$' ? std::string(chance(30) ? "$place" : "") : std::string(1, c);
    for (int i = phrase.find(' ') == std::string::npos ? below(4) : 0; i > 0; --i) line += cat({" ", below(6)});
    return line;
  }

  std::string data_line() {
    std::string line;
    switch (below(7)) {
      case 0:
        for (int i = below(30); i > 0; --i) line += static_cast<char>(chance(60) ? ' ' + below(95) : below(256));
        for (char& c : line) c = c == '\r' || c == '\n' ? '\\' : c;
        return "=" + line;
      case 1:
        return cat({"$", label(), " ", number(2), " $", label(), " ", number(4)});
      case 2:
        return "#inline $" + label();
      case 3:
        return "//" + any_case(label()) + " ; #raw 5";
      default:
        break;
    }
    line = pick("#raw|#move|#inline|#inline");
    const bool is_inline = line == "#inline";
    for (const char& byte : bytes(is_inline ? 1 + below(30) : below(300) / (1 + below(20)))) {
      line += (is_inline ? " 0x" : " ") + hex_bytes({&byte, 1});
    }
    return line;
  }

  std::mt19937 random_;
  bool plain_;
  std::vector<Command> commands_;
  std::vector<std::string> aliases_;
};

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

/// A session that knows the database.
struct Reader : Session {
  explicit Reader(const Maker& maker, bool autobank = true) {
    run("#silent on");
    for (const std::string& line : maker.database) run(line);
    if (!autobank) run("#autobank off");
  }

  /// Starts anew: no buffers, no files, nothing told.
  Reader& fresh() {
    run("#kableewy");
    for (const char* const name : {"/desk/made.buf", "/desk/in.psc"}) {
      if (machine.exists(name)) machine.files().remove_file(name);
    }
    start_ = log().size();
    return *this;
  }

  FileBuffer& buffers() { return shared->file_buffer; }

  /// The buffer file that the session's buffers give.
  std::string buffer_file() {
    run("#kapoke made.buf");
    return machine.bytes("/desk/made.buf");
  }

  /// The script that a buffer file gives.
  std::string decoded(const std::string& file) {
    machine.add_file("/desk/in.buf", file);
    run("#decode in.buf");
    return machine.exists("/desk/in.psc") ? machine.bytes("/desk/in.psc") : "none: " + log();
  }

  void compile(const std::string& script) {
    machine.add_file("/desk/main.psc", script);
    run("#include main.psc");
  }

  /// Whether one of the messages was told since the database stands.
  bool told(std::initializer_list<std::string_view> messages) {
    const std::string text = log().substr(start_);
    return std::any_of(messages.begin(), messages.end(), [&](auto m) { return text.find(m) != std::string::npos; });
  }

 private:
  std::size_t start_ = 0;
};

/// A label or pointer, and all that buffers hold.
struct Point {
  std::string name;
  int mode;
  bool operator==(const Point&) const = default;
};
struct Contents {
  std::string bytes;
  std::vector<std::pair<int, Point>> labels;
  std::map<int, Point> pointers;
};

Contents contents(FileBuffer buffers, int k) {
  Contents all{std::string(buffers.bytes(k)), {}, {}};
  for (int i = 1; i <= buffers.count(k); ++i) {
    const fOffsett& label = buffers.get_Point(static_cast<std::size_t>(i), k);
    all.labels.push_back({label.Offset, {lowered(label.name), label.mode}});
  }
  for (const fOffsett* const p : buffers.placed_pointers(k)) {
    all.pointers[p->Offset - k * FileBuffer::kBufferSpan] = {lowered(p->name), p->mode};
  }
  return all;
}

/// Leaves out the bytes that belong to no label. Whether there were such.
bool drop_unlabelled(Contents& all) {
  const auto start = all.labels.empty() ? all.bytes.size() : static_cast<std::size_t>(all.labels.front().first);
  all.bytes.erase(0, start);
  for (auto& label : all.labels) label.first -= static_cast<int>(start);
  std::map<int, Point> pointers;
  for (const auto& [place, point] : all.pointers) {
    if (place >= static_cast<int>(start)) pointers[place - static_cast<int>(start)] = point;
  }
  all.pointers = std::move(pointers);
  return start > 0;
}

std::string burned_bytes(const SmartNum& num, const std::string& name) {
  return SmartNum::pointer_bytes(num.CPtr(name));
}

bool is_number_name(const std::string& name) {
  return number_prefix(name).length == name.size() && !name.empty();
}

/// What may differ is made equal: a number that is registered now, where only its bytes stood, or the other way round;
/// a kind other than 3, which becomes that of the command its bytes decode as; and a name in data, which wants a "$".
/// The number of these.
int settle_pointers(const SmartNum& num, Contents& before, const Contents& after) {
  int settled = 0;
  const auto old_pointers = before.pointers;
  for (const auto& [place, point] : after.pointers) {
    const auto old = old_pointers.find(place);
    bool may_differ = false;
    if (old == old_pointers.end()) {
      std::string number = before.bytes.substr(static_cast<std::size_t>(place), 4);
      may_differ = is_number_name(point.name) && number == burned_bytes(num, point.name);
      if (may_differ) before.bytes.replace(static_cast<std::size_t>(place), 4, kPointerPlaceholder);
    } else if (old->second != point) {
      const std::string& name = old->second.name;
      const bool in_data = point.mode == kPointer && point.name == "$" + name && !is_number_name(name);
      may_differ = in_data || (point.name == name && old->second.mode != kPointer);
    }
    if (!may_differ) continue;
    before.pointers[place] = point;
    ++settled;
  }
  for (const auto& [place, point] : old_pointers) {
    if (after.pointers.contains(place) || !is_number_name(point.name)) continue;
    before.bytes.replace(static_cast<std::size_t>(place), 4, burned_bytes(num, point.name));
    before.pointers.erase(place);
    ++settled;
  }
  return settled;
}

int count_of(std::string_view text, std::string_view what) {
  int count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(RoadBack, BuffersComeBackFromTheirScript) {
  int code_lines = 0;
  int same_texts = 0;
  for (std::uint32_t seed = 0; seed < kDatabases; ++seed) {
    const bool plain = seed % 3 == 0;
    const bool autobank = seed % 4 != 0;
    Maker maker(seed, plain);
    Reader writer(maker, autobank);
    Reader decoder(maker, autobank);
    Reader compiler(maker, autobank);
    for (int i = 0; i < kProgramsOfEach; ++i) {
      const std::vector<std::string> lines = maker.program();
      writer.fresh();
      for (const std::string& line : lines) writer.run(line);
      const std::string file = writer.buffer_file();
      const std::string script = decoder.fresh().decoded(file);
      compiler.fresh().compile(script);
      EXPECT_FALSE(compiler.told({"Inval", " error "})) << compiler.log();

      const SmartNum num(compiler.shared->bank);
      bool unlabelled = false;
      int settled = 0;
      for (int k = 0; k < FileBuffer::kLabelSets; ++k) {
        Contents before = contents(writer.buffers(), k);
        unlabelled |= drop_unlabelled(before);
        compiler.buffers().place_waiting_label();
        Contents after = contents(compiler.buffers(), k);
        settled += settle_pointers(num, before, after);
        EXPECT_EQ(hex_bytes(after.bytes), hex_bytes(before.bytes)) << "buffer " << k;
        EXPECT_TRUE(after.labels == before.labels) << "labels of buffer " << k;
        EXPECT_TRUE(after.pointers == before.pointers) << "pointers of buffer " << k;
      }
      EXPECT_EQ(decoder.told({"left out"}), unlabelled);
      EXPECT_FALSE(decoder.told({"lost", "No script", " error "})) << decoder.log();
      const bool has_data = script.find("#inline") != std::string::npos || script.find("#raw") != std::string::npos;
      EXPECT_TRUE(!plain || (!has_data && settled == 0)) << "what is plain is no data";
      if (settled == 0 && !unlabelled) {
        ++same_texts;
        EXPECT_EQ(decoder.fresh().decoded(compiler.buffer_file()), script) << "the text is stable";
      }
      if (plain) code_lines += count_of(script, "verb") + count_of(script, "phrase");
      ASSERT_FALSE(HasFailure()) << "seed " << seed << "\n"
                                 << joined(maker.database) << joined(lines) << "----" << script;
    }
  }
  EXPECT_GT(code_lines, kDatabases * kProgramsOfEach * 2) << "and there was something to decode";
  EXPECT_GT(same_texts, kDatabases * kProgramsOfEach / 2);
}

TEST(RoadBack, ImagesComeBackFromTheirScript) {
  std::size_t covered = 0;
  for (std::uint32_t seed = 0; seed < kDatabases; ++seed) {
    const bool autobank = seed % 4 != 0;
    Maker maker(seed, seed % 3 == 0);
    Reader writer(maker, autobank);
    Reader decoder(maker, autobank);
    Reader compiler(maker, autobank);
    for (int i = 0; i < kImagesOfEach; ++i) {
      const int size = 100 + maker.below(maker.chance(30) ? 4000 : 600);
      writer.fresh().machine.add_file("/desk/game.bin", maker.bytes(size));
      for (const std::string& line : maker.program()) writer.run(line);
      writer.run("#kapop game.bin");
      const std::string image = writer.machine.bytes("/desk/game.bin");

      // From a label, or from anywhere; as code, as text, as a record.
      const int set = maker.below(3);
      const int labels = writer.buffers().count(set);
      int start = 1 + maker.below(size - 1);
      if (labels > 0 && maker.chance(70)) {
        FileBuffer buffers = writer.buffers();
        const std::string name = buffers.get_Point(static_cast<std::size_t>(1 + maker.below(labels)), set).name;
        start = std::max(1, buffers.pushed(name));
      }
      const int kind = maker.chance(80) ? 3 : 8 + maker.below(3);
      const std::string output = cat({"/desk/game", hex(start), ".psc"});
      decoder.fresh().machine.add_file("/desk/game.bin", image);
      decoder.run(cat({"#rawdecode game.bin 0x", hex(start), " ", kind}));
      ASSERT_TRUE(decoder.machine.exists(output)) << decoder.log();
      const std::string script = decoder.machine.bytes(output);
      decoder.machine.files().remove_file(output);
      EXPECT_TRUE(script.starts_with(cat({"\r\n#ORG 0x", hex(start), "\r\n"})));

      compiler.fresh().compile(script);
      EXPECT_FALSE(compiler.told({"Inval", " error "})) << compiler.log();
      compiler.buffers().place_waiting_label();
      std::string spoiled = image;
      const Contents all = contents(compiler.buffers(), 0);
      for (std::size_t j = 0; j < all.labels.size(); ++j) {
        const int end = j + 1 < all.labels.size() ? all.labels[j + 1].first : static_cast<int>(all.bytes.size());
        const auto place = static_cast<std::size_t>(Val(all.labels[j].second.name));
        for (std::size_t at = place; at < place + static_cast<std::size_t>(end - all.labels[j].first); ++at) {
          ASSERT_LT(at, spoiled.size());
          spoiled[at] = static_cast<char>(~image[at]);
          ++covered;
        }
      }
      compiler.machine.add_file("/desk/game.bin", spoiled);
      compiler.run("#kapop game.bin");
      EXPECT_TRUE(compiler.machine.bytes("/desk/game.bin") == image) << "the image as it was";
      ASSERT_FALSE(HasFailure()) << "seed " << seed << "\n" << joined(maker.database) << "----" << script;
    }
  }
  EXPECT_GT(covered, std::size_t{kDatabases * kImagesOfEach * 10}) << "and there was something to decode";
}

}  // namespace
}  // namespace tidewright
