// What the terminal program is started with.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

struct Options {
  std::vector<std::string> runs;  // script files, run before the line
  std::string line;               // the words after the options, joined by blanks
  bool interactive = false;
  std::optional<bool> answer;  // of every yes/no box
  bool quiet = false;
  std::optional<std::string> log_folder;
  bool help = false;
  bool version = false;
  std::string wrong;  // what is wrong with the usage; empty when nothing is
};

/// Reads the program's arguments, its name not among them. Options end at the first other word, or at "--".
Options read_options(const std::vector<std::string>& arguments);

/// What a person is told of an option: how it is written, and what it does.
struct OptionHelp {
  std::string_view names;
  std::string_view text;
};
extern const std::vector<OptionHelp> kOptions;

/// The text of --help.
std::string usage();

}  // namespace tidewright
