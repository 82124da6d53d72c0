// An outside judge: some hundred random programs, each written twice. Once as scripts with a command
// database, compiled and burned by a session in this process; once as source for the GNU assembler, which
// lays it out, links it at 0x08000000 and strips it to bytes. The two images must be equal, byte for byte.
//
// What to expect comes from the GNU tools alone: values are handed to them as written, widths are those of
// their directives, addresses are their symbols, gaps their differences of symbols.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <utility>

#include "base/text.h"
#include "tests/session.h"

namespace tidewright {
namespace {

namespace fs = std::filesystem;

constexpr int kPrograms = 400;
constexpr int kBuffers = 16;

// Labels with an address of their own stand about this far apart, which is more than the bytes of a program.
constexpr int kSpacing = 0x2000;

// The assembler's directives for 1, 2, 4, 8 and 16 bytes.
constexpr std::array<std::string_view, 5> kDirectives = {".byte ", ".short ", ".long ", ".quad ", ".octa "};

std::string_view directive(int size) {
  return kDirectives[static_cast<std::size_t>(size)];
}

std::string hexadecimal(std::uint64_t value, int digits) {
  std::array<char, 24> text;
  return {text.data(), static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "0x%0*llX", digits,
                                                              static_cast<unsigned long long>(value)))};
}

/// A label of a program, its place decided before anything is written.
struct Label {
  enum class Place { behind, pushed, named };  // behind the label before it, or at an address of its own
  std::string name;                            // as a script writes it
  std::string symbol;                          // as the assembler knows it
  int buffer = 0;
  Place place = Place::behind;
  int address = 0;
  std::string source = {};  // the assembler's lines for its bytes
};

/// The same thing in both languages.
struct Twin {
  std::string script;
  std::string gnu;
};

struct Parameter {
  int kind = 0;
  std::string description = {};
  std::optional<std::string> fixed = {};  // the assembler's line, where the script has no say in it
  bool is_mask = false;                   // fixed, but takes a value all the same
  std::vector<std::string> choices = {};  // of an enum, by the script's value; of a bind, what it binds on
  std::optional<std::size_t> bound = {};  // the command that a bind names

  bool takes_value() const { return kind != 4 && (!fixed || is_mask); }
};

struct Command {
  std::string keyword;
  int code = 0;
  std::vector<Parameter> parameters = {};
};

/// Another way to call a command: by words that stand in front of its values, or by one word.
struct Alias {
  std::size_t command;
  std::vector<std::string> words;
};

/// Makes one random program in both languages: first what there is, then what the script says.
class Program {
 public:
  explicit Program(std::uint32_t seed) : random_(seed) {
    plan_labels();
    make_database();
    make_script();
    make_source();
  }

  std::map<std::string, std::string> scripts;
  std::string source;
  int image_length = 0;  // of the image to burn into, which is full of this byte:
  char fill = 0;

 private:
  std::uint32_t bits(int count) { return static_cast<std::uint32_t>(random_()) >> (32 - count); }
  int below(int limit) { return static_cast<int>(bits(31)) % limit; }
  bool chance(int percent) { return below(100) < percent; }
  std::size_t index(std::size_t size) { return bits(31) % size; }
  template <class List>
  auto& any(List& list) {
    return list[index(list.size())];
  }
  // Letter case does not count, but in "0x".
  std::string any_case(std::string text) {
    if (!chance(20)) return text;
    for (char& c : text) c = c == 'x' ? c : upper(c);
    return text;
  }

  void plan_labels() {
    const int count = 2 + below(20);
    std::vector<int> buffers{below(kBuffers)};
    for (int i = below(6); i > 0; --i) buffers.push_back(below(kBuffers));
    for (int i = 0; i < count; ++i) {
      const std::string name = cat({"place", i});
      labels_.push_back({name, name, any(buffers)});
      if (chance(30)) labels_.back().place = chance(50) ? Label::Place::pushed : Label::Place::named;
    }
    // File position 0 counts as no place at all, so no label may come to stand there.
    has_prefix_ = chance(50);
    Label& first = *std::min_element(labels_.begin(), labels_.end(),
                                     [](const Label& a, const Label& b) { return a.buffer < b.buffer; });
    if (first.place == Label::Place::behind && !has_prefix_) first.place = Label::Place::pushed;

    std::vector<Label*> placed;
    for (Label& label : labels_) {
      if (label.place == Label::Place::behind) continue;
      placed.insert(placed.begin() + below(static_cast<int>(placed.size()) + 1), &label);
    }
    for (Label* const label : placed) {
      label->address = (image_length += kSpacing) + below(0x800);
      if (label->place == Label::Place::named) label->name += "." + address_text(label->address);
    }
    image_length += kSpacing;
    for (int i = 0; i < 3; ++i) {
      const std::string address = address_text(1 + below(99999));
      spots_.push_back({cat({"spot", i}), address});
    }
  }

  std::string address_text(int address) {
    return chance(70) ? hexadecimal(static_cast<std::uint64_t>(address), 1) : std::to_string(address);
  }

  // ---- the database ----

  /// A parameter of a command that comes behind all those made so far.
  Parameter parameter() {
    const std::string byte = hexadecimal(bits(8), 2);
    const std::string line = cat({directive(0), byte, "\n"});
    const std::size_t other = index(commands_.size() + 1);
    const bool has_other = other < commands_.size();
    switch (below(12)) {
      case 0:
        return {.kind = 3};
      case 1:
        return {.kind = 4};
      case 2:
        return {.kind = 5, .description = "select(7,&hfe,33)", .choices = {"7", "0xfe", "33"}};
      case 3: {
        const int size = below(4);
        const std::uint64_t wide = (std::uint64_t{bits(32)} << 32 | bits(32)) >> (64 - (8 << size));
        const std::string constant = hexadecimal(wide, 2 << size);
        return {.kind = 6, .description = constant, .fixed = cat({directive(size), constant, "\n"})};
      }
      case 4:
        if (!has_other) return {.kind = 7, .description = byte, .fixed = line};
        return {.kind = 7,
                .description = commands_[other].keyword,
                .fixed = cat({directive(0), commands_[other].code, "\n"})};
      case 5:
        return {.kind = 8 + below(2)};
      case 6: {
        const Twin target = pointer(false);
        return {.kind = 8 + below(2), .description = target.script, .fixed = target.gnu};
      }
      case 7:
        return {.description = cat({"mask(", byte, ")"}), .fixed = line, .is_mask = true};
      case 8:
        if (!has_other) return {};
        return {.description = cat({"bind(3,5)", commands_[other].keyword}), .choices = {"3", "5"}, .bound = other};
      default:
        return {.kind = below(3), .description = chance(20) ? "distance" : ""};
    }
  }

  void make_database() {
    std::string& script = scripts["commands.psh"];
    for (int i = 3 + below(8); i > 0; --i) {
      Command made{any_case(cat({"verb", i})), below(256)};
      const bool full = chance(8);
      for (int p = full ? 16 : below(6); p > 0; --p) {
        made.parameters.push_back(full ? Parameter{.kind = below(2)} : parameter());
      }
      script += cat({"#addcmmd ", made.keyword, " ", made.code, "\n"});
      for (const Parameter& p : made.parameters) script += cat({"#addparm ", p.kind, " ", p.description, "\n"});
      commands_.push_back(made);
    }
    for (int i = below(4); i > 0; --i) script += alias(cat({"phrase", i}));
    for (int i = below(4); i > 0; --i) {
      defines_.emplace_back(cat({"amount", i}), std::to_string(below(200)));
      script += cat({"#define ", defines_.back().first, " ", defines_.back().second, "\n"});
    }
    mapped_ = chance(50);
    for (int i = 0; mapped_ && i < 26; ++i) {
      script +=
          cat({"#addtext ", static_cast<char>('A' + i), " ", hexadecimal(0xBBu + static_cast<unsigned>(i), 2), "\n"});
    }
    script += "#addctrl n &hFE\n#addhash heart &h9A9B\n#do\n";
  }

  std::string alias(const std::string& name) {
    Alias made{index(commands_.size()), {name}};
    std::string phrase = name;
    int values = 0;
    for (const Parameter& p : commands_[made.command].parameters) {
      if (p.bound) return "";  // how many values it takes is not known before they are
      if (!p.takes_value()) continue;
      if (values > 0) phrase += " " + made.words.emplace_back(cat({"and", values}));
      phrase += cat({" $", ++values});
    }
    if (chance(30)) {
      made.words.resize(1);
      phrase = name;
    }
    aliases_.push_back(made);
    return cat({"#alias ", phrase, "\n#addparm 0 ", commands_[made.command].keyword, "\n"});
  }

  // ---- lines ----

  /// A value of 1, 2 or 4 bytes (kind 0, 1 or 2) in one of the ways that a script can write it.
  Twin number(int kind, bool in_phrase) {
    const auto twin = [&](const std::string& script, std::string_view gnu) {
      return Twin{script, cat({directive(kind), gnu, "\n"})};
    };
    if (!defines_.empty() && chance(15)) {
      const auto& [name, value] = any(defines_);
      return twin(any_case(name), value);
    }
    if (kind == 0 && chance(5)) {
      // Too large for a byte: of its three hexadecimal digits the first two are kept.
      const std::string large = std::to_string(256 + below(3840));
      return twin(large, large + " >> 4");
    }
    std::string text = std::to_string(bits((8 << kind) - 1));
    if (kind == 2 && !in_phrase && chance(20)) text.insert(0, "-");
    if (chance(50)) text = hexadecimal(bits(8 << kind), chance(50) ? 2 << kind : 1);
    return twin(any_case(text), text);
  }

  Twin pointer(bool in_phrase) {
    const auto twin = [](const std::string& script, std::string_view gnu) {
      return Twin{script, cat({directive(2), gnu, "\n"})};
    };
    const int what = below(10);
    const int address = 1 + below(0x100000);
    if (what == 0) return twin(address_text(address), cat({"0x08000000 + ", address}));
    if (what == 1) return twin(address_text(0x08000000 + address), cat({"0x08000000 + ", address}));
    // In a phrase only "$" tells a value from a word.
    const std::string dollar = in_phrase || chance(20) ? "$" : "";
    if (what == 2) {
      const Twin& spot = any(spots_);
      return twin(dollar + any_case(spot.script), "0x08000000 + " + spot.gnu);
    }
    const Label& label = any(labels_);
    return twin(dollar + any_case(label.name), label.symbol);
  }

  /// Values for the parameters of `made`: the script's words, the assembler's lines.
  void add_values(const Command& made, std::vector<std::string>& words, std::string& gnu, bool in_phrase) {
    const auto add = [&](const Twin& value) {
      words.push_back(value.script);
      gnu += value.gnu;
    };
    for (const Parameter& p : made.parameters) {
      if (p.fixed) {
        if (p.is_mask) words.push_back(std::to_string(below(300)));
        gnu += *p.fixed;
      } else if (p.kind == 3 || p.kind >= 8) {
        add(pointer(in_phrase));
      } else if (p.bound) {
        const bool bind = chance(80);
        const std::string value = bind ? any(p.choices) : "99";
        add({value, cat({directive(0), value, "\n"})});
        if (bind) add_values(commands_[*p.bound], words, gnu, in_phrase);
      } else if (p.kind == 5) {
        const std::size_t choice = index(p.choices.size());
        add({std::to_string(choice), cat({directive(0), p.choices[choice], "\n"})});
      } else if (p.takes_value()) {
        add(number(p.kind, in_phrase));
      }
    }
  }

  Twin code_line(bool in_phrase) {
    const Alias alias = in_phrase ? any(aliases_) : Alias{index(commands_.size()), {}};
    const Command& made = commands_[alias.command];
    std::vector<std::string> values;
    Twin result{any_case(in_phrase ? alias.words[0] : made.keyword), cat({directive(0), made.code, "\n"})};
    add_values(made, values, result.gnu, in_phrase);
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i > 0 && i < alias.words.size()) result.script += " " + alias.words[i];
      result.script += " " + values[i];
    }
    return result;
  }

  Twin inline_line() {
    const Label& target = any(labels_);
    if (chance(20)) return {"$" + any_case(target.name), cat({directive(2), target.symbol, "\n"})};
    Twin result{"#inline", ""};
    for (int i = 1 + below(20); i > 0; --i) {
      // A literal is as wide as its digits, or its value, want.
      const int size = below(3);
      const std::uint32_t value = bits((8 << size) - 1) | 0x40u << ((8 << size) - 8);
      const std::string digits = hexadecimal(value, 2 << size);
      result.script += " " + (chance(40) ? std::to_string(value) : any_case(digits));
      result.gnu += cat({directive(size), digits, "\n"});
      if (!chance(25)) continue;
      result.script += " $" + any_case(target.name);
      result.gnu += cat({directive(2), target.symbol, "\n"});
    }
    return result;
  }

  /// Words of hexadecimal digits. Each begins with a digit: some hexadecimal words are directives.
  Twin raw_line() {
    Twin result{"#", ""};
    for (int i = 1 + below(18); i > 0; --i) {
      const int size = below(5);
      std::string digits;
      for (int d = 0; d < 2 << size; ++d) digits += "0123456789abcdef"[below(d == 0 ? 10 : 16)];
      result.script += any_case(digits) + (i > 1 ? " " : "");
      result.gnu += cat({directive(size), "0x", digits, "\n"});
    }
    return result;
  }

  /// A text. Blanks stand alone and inside only: others are folded. Names want a line that is all text.
  Twin text(bool behind_code) {
    Twin result{behind_code ? " =" : "=", ""};
    for (int i = 1 + below(12); i > 0; --i) {
      const std::string byte = hexadecimal(bits(8), 2);
      const std::string c(1, "ABCQRSTUVWXYZghijklm.,!?-+"[below(26)]);
      const bool is_mapped = mapped_ && c >= "A" && c <= "Z";
      const std::array<Twin, 5> pieces = {
          Twin{c, is_mapped ? cat({".byte 0xBB + '", c, " - 'A\n"}) : cat({".ascii \"", c, "\"\n"})},
          Twin{"a b", ".ascii \"a b\"\n"},
          Twin{"\\n", ".byte 0xFE\n"},
          Twin{"#" + byte.substr(2), cat({".byte ", byte, "\n"})},
          Twin{"#Heart", ".byte 0x9A, 0x9B\n"},
      };
      const Twin& piece = chance(60) ? pieces[0] : pieces[index(behind_code ? 4 : 5)];
      result.script += piece.script;
      result.gnu += piece.gnu;
    }
    return result;
  }

  /// A statement or several, dressed up in ways that must not count.
  Twin line() {
    const int what = below(20);
    if (what == 0) return raw_line();
    if (what == 1) return inline_line();
    if (what == 2) return text(false);
    Twin result = code_line(!aliases_.empty() && what < 6);
    const auto add = [&](std::string_view separator, const Twin& more) {
      result.script += cat({separator, more.script});
      result.gnu += more.gnu;
    };
    for (int i = below(8) - 5; i > 0; --i) add(chance(50) ? ";" : " ; ", code_line(false));
    if (chance(10)) {
      add("", text(true));
    } else if (chance(10)) {
      result.script += " ' 0x12 #34";
    }
    if (chance(10)) result.script.insert(0, "\t  ");
    if (chance(5)) replace_all(result.script, " ", " \t");
    return result;
  }

  /// Lines of a script, put behind those of `script`; returns the assembler's.
  std::string lines(int count, std::string& script) {
    std::string gnu;
    for (; count > 0; --count) {
      const Twin made = line();
      script += cat({chance(15) ? "' a comment; verb1 1\n" : "", made.script, "\n", chance(5) ? "\n" : ""});
      gnu += made.gnu;
    }
    return gnu;
  }

  void make_script() {
    std::array<std::string, 2> pushes;  // before the code and behind it
    const auto push = [&](std::string_view name, std::string_view address) {
      any(pushes) += cat({"#kapush ", name, " ", address, "\n"});
    };
    for (const Label& label : labels_) {
      if (label.place == Label::Place::pushed) push(label.name, address_text(label.address));
    }
    for (const Twin& spot : spots_) push(spot.script, spot.gnu);

    std::string& first = scripts["main.psc"];
    std::string& second = scripts["second.psc"];
    first = "#include commands.psh\n" + pushes[0];
    if (has_prefix_) prefix_ = lines(1 + below(3), first);
    const std::size_t split = index(labels_.size());
    for (std::size_t i = 0; i < labels_.size(); ++i) {
      std::string& script = i < split ? first : second;
      script += cat({"#org ", any_case(labels_[i].name), " ", labels_[i].buffer, "\n"});
      labels_[i].source = lines(below(6), script);
    }
    // A second burn puts the same bytes in the same places.
    first += cat({"#include second.psc\n", pushes[1], "#kapop game.bin\n", chance(20) ? "#kapop game.bin\n" : ""});
  }

  /// The labels of a buffer stand one after the other, and so do the buffers; a label with an address of its
  /// own takes those behind it along. Behind a pushed label stays free what lies between it and the last
  /// label that was not pushed. The bytes before the first label take room, but are not written.
  void make_source() {
    fill = static_cast<char>(bits(8));
    const std::string filler = cat({", ", static_cast<unsigned char>(fill), "\n"});
    std::map<int, std::string> regions{{image_length, ""}};  // what begins at an address
    std::string* region = &regions[0];
    for (int b = 0; b < kBuffers; ++b) {
      const bool prefixed = b == 0 && has_prefix_;
      std::string since = prefixed ? "unwritten_end - unwritten" : "0";  // bytes from the last label not pushed
      std::string free = since;                                          // bytes that stay free ahead
      const auto leave_free = [&] { *region += cat({".fill ", std::exchange(free, "0"), ", 1", filler}); };
      for (const Label& label : labels_) {
        if (label.buffer != b) continue;
        if (label.place == Label::Place::behind) {
          leave_free();
        } else {
          region = &regions[label.address];
        }
        if (label.place != Label::Place::pushed) since = "0";
        free = since;
        since += cat({" + ", label.symbol, "_end - ", label.symbol});
        *region += cat({label.symbol, ":\n", label.source, label.symbol, "_end:\n"});
      }
      leave_free();
    }
    source = cat({".section aside\nunwritten:\n", prefix_, "unwritten_end:\n.text\n"});
    for (const auto& [address, text] : regions) source += cat({".org ", address, filler, text});
  }

  std::mt19937 random_;
  std::vector<Label> labels_;
  std::vector<Twin> spots_;  // names that are given a place and label nothing
  std::vector<Command> commands_;
  std::vector<Alias> aliases_;
  std::vector<std::pair<std::string, std::string>> defines_;
  bool mapped_ = false;      // capital letters have codes of their own
  bool has_prefix_ = false;  // bytes before the first label of buffer 0:
  std::string prefix_;       // the assembler's lines for them
};

/// A folder that is gone at the end.
class WorkFolder {
 public:
  WorkFolder() : path_(fs::temp_directory_path() / ("tidewright-judge-" + std::to_string(std::random_device()()))) {
    fs::create_directory(path_);
  }
  ~WorkFolder() { fs::remove_all(path_); }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  fs::path file(int number, std::string_view extension) const { return path_ / cat({number, extension}); }

  /// Makes 0.bin, 1.bin, ... of 0.s, 1.s, ...; false when a GNU tool fails.
  bool assemble(int count) const {
    const std::string steps =
        "as --fatal-warnings -o x.o $i.s && ld -Ttext=0x08000000 -e 0 -o x.elf x.o && "
        "objcopy -O binary -j .text x.elf $i.bin || exit 1";
    return std::system(cat({"cd '", path_.string(), "' && i=0 && while [ $i -lt ", count, " ]; do ", steps,
                            "; i=$((i + 1)); done"})
                           .c_str()) == 0;
  }

 private:
  fs::path path_;
};

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string burned(const Program& program) {
  Session session;
  session.console.Visible(false);
  for (const auto& [name, text] : program.scripts) session.machine.add_file("/desk/" + name, text);
  session.machine.add_file("/desk/game.bin", std::string(static_cast<std::size_t>(program.image_length), program.fill));
  session.run("#include main.psc");
  EXPECT_FALSE(session.shared->file_handle.troubled()) << session.log();
  return session.machine.bytes("/desk/game.bin");
}

TEST(Assembler, GivesTheSameImages) {
  const WorkFolder folder;
  std::vector<Program> programs;
  for (int i = 0; i < kPrograms; ++i) {
    programs.emplace_back(static_cast<std::uint32_t>(i));
    std::ofstream(folder.file(i, ".s"), std::ios::binary) << programs.back().source;
  }
  ASSERT_TRUE(folder.assemble(kPrograms));
  for (int i = 0; i < kPrograms; ++i) {
    const Program& program = programs[static_cast<std::size_t>(i)];
    const std::string wanted = read_file(folder.file(i, ".bin"));
    const std::string image = burned(program);
    ASSERT_EQ(wanted.size(), image.size()) << "program " << i;
    if (wanted == image) continue;
    FAIL() << "program " << i << " differs at "
           << std::mismatch(wanted.begin(), wanted.end(), image.begin()).first - wanted.begin() << "\n"
           << program.scripts.at("commands.psh") << "---- main.psc\n"
           << program.scripts.at("main.psc") << "---- second.psc\n"
           << program.scripts.at("second.psc") << "---- assembler\n"
           << program.source;
  }
}

}  // namespace
}  // namespace tidewright
