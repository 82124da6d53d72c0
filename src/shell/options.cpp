#include "shell/options.h"

#include "base/text.h"

namespace tidewright {

namespace {

constexpr std::string_view kUsageHead =
    R"(Usage: tidewright [options] [line...]

Compiles scripts of game data commands and burns them into an image file.

The words after the options are the first line of the session, for example
    tidewright "#boot; #include main.psc; #kapop game.bin"
Without a line it is a console: it prompts on a terminal, and runs the lines of
standard input to its end elsewhere.

)";

constexpr std::string_view kUsageTail = R"(
Exit status: 0; 1 when an error, a notice or a wrong command was shown; 2 for
wrong usage.
)";

}  // namespace

const std::vector<OptionHelp> kOptions = {
    {"-r, --run FILE", "run a script file before the line, as #include does; may be repeated"},
    {"-i, --interactive", "stay as a console after the line"},
    {"--yes, --no", "the answer of every yes/no question; without either it is asked on a terminal, and No elsewhere"},
    {"-q, --quiet", "nothing on standard output"},
    {"--log-folder DIR", "where the session log goes, in place of the folder \"log\" beside the program"},
    {"-h, --help", "this text; #help lists the directives"},
    {"--version", "the program's version"},
};

std::string usage() {
  constexpr std::size_t kColumn = 23;  // of the texts
  constexpr std::size_t kWidth = 80;
  std::string text(kUsageHead);
  for (const OptionHelp& option : kOptions) {
    const bool is_short = option.names[1] != '-';
    std::string line = cat({is_short ? "  " : "      ", option.names});
    for (const std::string_view piece : wrapped(option.text, kWidth - kColumn)) {
      line.resize(kColumn, ' ');
      text += cat({line, piece, "\n"});
      line.clear();
    }
  }
  return text.append(kUsageTail);
}

Options read_options(const std::vector<std::string>& arguments) {
  Options options;
  std::size_t at = 0;
  // The value of an option: behind "=", or the next word.
  const auto value_of = [&](std::string_view word, std::string_view name) -> std::optional<std::string> {
    if (word.size() > name.size() && word.starts_with(name) && word[name.size()] == '=') {
      return std::string(word.substr(name.size() + 1));
    }
    if (at + 1 < arguments.size()) return arguments[++at];
    options.wrong = cat({name, " wants a value"});
    return {};
  };
  for (; at < arguments.size() && options.wrong.empty(); ++at) {
    const std::string& word = arguments[at];
    const std::string name = word.substr(0, word.find('='));
    if (word == "--") {
      ++at;
      break;
    }
    if (!word.starts_with('-') || word == "-") break;
    if (name == "--run" || word == "-r") {
      if (const auto file = value_of(word, name)) options.runs.push_back(*file);
    } else if (name == "--log-folder") {
      options.log_folder = value_of(word, name);
    } else if (word == "-i" || word == "--interactive") {
      options.interactive = true;
    } else if (word == "--yes" || word == "--no") {
      options.answer = word == "--yes";
    } else if (word == "-q" || word == "--quiet") {
      options.quiet = true;
    } else if (word == "--help" || word == "-h") {
      options.help = true;
    } else if (word == "--version") {
      options.version = true;
    } else {
      options.wrong = cat({"unknown option ", word});
    }
  }
  for (; at < arguments.size(); ++at) {
    if (!options.line.empty()) options.line += ' ';
    options.line += arguments[at];
  }
  return options;
}

}  // namespace tidewright
