// Prints what is made from the table of directives and that of the options: the man page, and the blocks of the manual
// and of the editors' files that list directives, each from its first line to its last (tools/pages.py puts them in).
// Blocks are parted by empty lines.
#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "base/version.h"
#include "processor/control.h"
#include "shell/options.h"

namespace tidewright {
namespace {

std::vector<std::string_view> all_words() {
  std::vector<std::string_view> words;
  for (const DirectiveHelp& directive : Control::directives()) {
    words.insert(words.end(), directive.words.begin(), directive.words.end());
  }
  std::sort(words.begin(), words.end());
  return words;
}

std::string joined_words(std::string_view separator) {
  std::string text;
  for (const std::string_view word : all_words()) text += cat({text.empty() ? "" : separator, word});
  return text;
}

// The tables of docs/directives.md.

// A text as Markdown: a directive in it is set as code.
std::string marked(std::string_view text) {
  const std::vector<std::string_view> words = all_words();
  std::string marked;
  while (!text.empty()) {
    const std::size_t hash = std::min(text.find('#'), text.size());
    marked += text.substr(0, hash);
    text.remove_prefix(hash);
    if (text.empty()) break;
    std::string_view word;
    for (const std::string_view candidate : words) {
      if (text.substr(1).starts_with(candidate) && candidate.size() > word.size()) word = candidate;
    }
    marked += word.empty() ? "#" : cat({"`#", word, "`"});
    text.remove_prefix(1 + word.size());
  }
  return marked;
}

// "`#include FILE`, `#kacode`"
std::string marked_usage(const DirectiveHelp& directive) {
  std::string usage = cat({"`", directive.usage(), "`"});
  replace_all(usage, ", ", "`, `");
  return usage;
}

void print_markdown() {
  std::string_view group;
  const auto end_group = [&] {
    if (!group.empty()) std::cout << "<!-- end -->\n\n";
  };
  const std::vector<DirectiveHelp> directives = Control::directives();
  for (const DirectiveHelp& directive : directives) {
    const bool has_states = std::any_of(directives.begin(), directives.end(), [&](const DirectiveHelp& other) {
      return other.group == directive.group && !other.at_start.empty();
    });
    if (directive.group != group) {
      end_group();
      group = directive.group;
      std::cout << "<!-- directives: " << group << " -->\n"
                << (has_states ? "| directive | at start | does |\n| --- | --- | --- |\n"
                               : "| directive | does |\n| --- | --- |\n");
    }
    std::cout << "| " << marked_usage(directive) << " | ";
    if (has_states) std::cout << directive.at_start << (directive.at_start.empty() ? "| " : " | ");
    std::cout << marked(directive.description) << " |\n";
  }
  end_group();
}

// The files of shells and editors.

void print_bash() {
  std::string options;
  for (const OptionHelp& option : kOptions) {
    for (std::size_t at = option.names.find('-'); at != std::string_view::npos;) {
      const std::string_view name = option.names.substr(at, option.names.find_first_of(", ", at) - at);
      options += cat({options.empty() ? "" : " ", name});
      at = option.names.find('-', at + name.size());
    }
  }
  std::cout << "# made by tools/pages.py\n"
            << "_tidewright_options='" << options << "'\n"
            << "_tidewright_directives='" << joined_words(" ") << "'\n"
            << "# end\n";
}

// The words as alternatives of a regular expression, longer ones before their beginnings.
std::string pattern(std::string_view dot) {
  std::vector<std::string_view> words = all_words();
  std::reverse(words.begin(), words.end());
  std::string text;
  for (const std::string_view word : words) {
    std::string quoted(word);
    replace_all(quoted, ".", dot);
    text += cat({text.empty() ? "" : "|", quoted});
  }
  return text;
}

void print_textmate() {
  std::cout << "      \"comment\": \"made by tools/pages.py\",\n"
            << "      \"match\": \"(?i)(?:#|&h)(?:" << pattern("\\\\.") << ")(?![^\\\\s;'=])\",\n"
            << "      \"name\": \"keyword.control.directive.tidewright\"\n";
}

void print_vim() {
  std::string words = pattern("\\.");
  replace_all(words, "|", "\\|");
  std::cout << "\" made by tools/pages.py\n"
            << "syntax match tidewrightDirective /\\c\\%(#\\|&h\\)\\%(" << words << "\\)\\ze\\%([ \\t;'=]\\|$\\)/\n"
            << "\" end\n";
}

// The man page.

constexpr std::string_view kManHead = R"(.SH NAME
tidewright \- compiles scripts of game data commands into an image file
.SH SYNOPSIS
.B tidewright
.RI [ options ]
.RI [ line ...]
.SH DESCRIPTION
Compiles scripts of game data commands, labels, texts and raw data, gives every label a place in a binary image file,
patches every pointer, and burns the result into the image. Byte code of an image is written back as a script that
compiles to the same bytes.
.PP
The words after the options are the first line of the session: statements with
.B ;
between them. Without a line it is a console: it prompts on a terminal, and runs the lines of standard input to its end
elsewhere. A line that begins with # is a directive; any other line is a command of the database that #boot loads.
)";

constexpr std::string_view kManTail = R"(.SH EXIT STATUS
.TP
.B 0
Everything went well.
.TP
.B 1
An error, a notice or a wrong command was shown.
.TP
.B 2
Wrong usage.
.SH ENVIRONMENT
.TP
.B XDG_STATE_HOME
Where the session log goes when it cannot be written beside the program; ~/.local/state when it is not set.
.SH FILES
.TP
.I base/includes.psh
The command database that #boot loads: that of the current folder, else the one beside the program.
.TP
.I log/[yyyymmdd-hhmm]tidewright.log
The session log, beside the program or, where that cannot be written, in the folder tidewright of the user's state
folder.
.TP
.I *.burn, *.burning
Journals of burns, beside the images: of the last one, and of one that is under way or was cut short.
.TP
.I *.psc, *.psh, *.buf
Scripts, definitions, and buffer files.
.TP
.I /usr/share/doc/tidewright
The manual, as text and as HTML, and an example.
.SH EXAMPLES
.TP
tidewright "#boot; #include main.psc; #kapop game.bin"
Loads the database, compiles the scripts and burns them.
.TP
tidewright "#boot; #rawdecode game.bin 0x0280 3"
Writes the script at 0x0280 of the image.
.TP
tidewright "#help kapop"
Tells about a directive.
)";

// A text as roff takes it literally.
std::string roff(std::string_view text) {
  std::string quoted;
  for (const char c : text) quoted += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  return quoted.starts_with('.') || quoted.starts_with('\'') ? "\\&" + quoted : quoted;
}

void print_man_entry(std::string_view term, std::string_view text) {
  std::cout << ".TP\n.B \"" << roff(term) << "\"\n" << roff(text) << '\n';
}

void print_man() {
  std::cout << ".\\\" made by the build, from the tables of directives and options\n"
            << ".TH TIDEWRIGHT 1 \"\" \"Tidewright " << kVersion << "\" \"Tidewright manual\"\n"
            << kManHead << ".SH OPTIONS\n";
  for (const OptionHelp& option : kOptions) print_man_entry(option.names, option.text);
  std::cout << ".SH DIRECTIVES\n";
  std::string_view group;
  for (const DirectiveHelp& directive : Control::directives()) {
    if (directive.group != group) std::cout << ".SS " << (group = directive.group) << '\n';
    const bool is_setting = !directive.at_start.empty();
    print_man_entry(directive.usage(), cat({directive.description, is_setting ? " At start: " : "", directive.at_start,
                                            is_setting ? "." : ""}));
  }
  std::cout << kManTail;
}

struct Format {
  std::string_view name;
  void (*print)();
};
constexpr Format kFormats[] = {
    {"markdown", print_markdown}, {"bash", print_bash}, {"textmate", print_textmate},
    {"vim", print_vim},           {"man", print_man},
};

}  // namespace
}  // namespace tidewright

int main(int argc, char** argv) {
  const std::string_view wanted = argc == 2 ? argv[1] : "";
  for (const tidewright::Format& format : tidewright::kFormats) {
    if (format.name != wanted) continue;
    format.print();
    return 0;
  }
  std::cerr << "usage: pages FORMAT, one of";
  for (const tidewright::Format& format : tidewright::kFormats) std::cerr << ' ' << format.name;
  std::cerr << '\n';
  return 2;
}
