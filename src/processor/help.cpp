// The directive help: tells about the directives, from their table, and about the commands of the database that is
// loaded.
#include <algorithm>
#include <iterator>

#include "base/nearest.h"
#include "base/numbers.h"
#include "base/text.h"
#include "processor/shared.h"

namespace tidewright {
namespace {

constexpr std::size_t kWidth = 76;       // of a description's line
constexpr std::size_t kUsageWidth = 30;  // of the first column of the list

/// A kind of parameter: what a script gives, in a command's usage, and what becomes of it.
struct KindText {
  std::string_view value;
  std::string_view bytes;
};
constexpr KindText kKinds[] = {
    {"BYTE", "a byte"},
    {"WORD", "a word"},
    {"DWORD", "a dword"},
    {"POINTER", "a pointer"},
    {"", "the end of the script"},
    {"CHOICE", "a byte"},
    {"", "the constant"},
    {"", "the code of"},
    {"TEXT", "a pointer to text"},
    {"MOVEMENT", "a pointer to movement data"},
    {"POINTER", "a pointer of another kind"},  // and every kind above
};

const KindText& text_of(std::uint8_t kind) {
  return kKinds[std::min<std::size_t>(kind, std::size(kKinds) - 1)];
}

// "walk WHO MOVEMENT": a value is called by its description where that is a word.
std::string usage_of(const tCmd& command) {
  std::string usage = command.keyword();
  for (int i = 0; i < command.parmcnt(); ++i) {
    const std::uint8_t kind = command.Parmsise(i);
    const std::string& description = command.ParmDesc(i);
    if (kind == kEndOfScript || !takes_value(kind, description)) continue;
    std::string value = description;
    std::transform(value.begin(), value.end(), value.begin(), upper);
    const bool is_word = !value.empty() && value.find('(') == std::string::npos;
    usage += cat({" ", is_word ? value : text_of(kind).value});
  }
  return usage;
}

// "Byte code &h21, then a byte (who), a pointer to movement data."
std::string bytes_of(const tCmd& command) {
  std::string text = "Byte code &h" + hex_bytes(std::string(1, static_cast<char>(command.bytecode())));
  for (int i = 0; i < command.parmcnt(); ++i) {
    const std::uint8_t kind = command.Parmsise(i);
    const std::string& description = command.ParmDesc(i);
    text += cat({i == 0 ? ", then " : ", ", text_of(kind).bytes});
    if (description.empty()) continue;
    const bool named = kind == kConstant || kind == kNamedByte;
    text += named ? cat({" ", description}) : cat({" (", kind < kFixed ? "" : "always ", description, ")"});
  }
  return text + ".";
}

// The comment behind a definition, without its mark.
std::string_view comment_of(const tCmd& command) {
  std::string_view comment = command.alias() ? "" : std::string_view(command.Descriptions());
  comment.remove_prefix(std::min(comment.find_first_not_of("' "), comment.size()));
  return comment;
}

void echo_indented(FileHandle& files, std::string_view text) {
  for (const std::string_view line : wrapped(text, kWidth)) files.echo({"  ", line});
}

void echo_command(FileHandle& files, const tCmd& command) {
  if (command.alias()) {
    files.echo(command.keyword());
    return echo_indented(files, cat({"An alias, which stands for", CmdList::template_of(command), "."}));
  }
  files.echo(usage_of(command));
  echo_indented(files, comment_of(command));
  echo_indented(files, bytes_of(command));
}

void echo_directive(FileHandle& files, const DirectiveHelp& directive) {
  files.echo(directive.usage());
  echo_indented(files, directive.description);
  if (!directive.at_start.empty()) echo_indented(files, cat({"At start: ", directive.at_start, "."}));
}

void echo_list(FileHandle& files) {
  std::string_view group;
  for (const DirectiveHelp& directive : Control::directives()) {
    if (directive.group != group) files.echo(group = directive.group);
    std::string usage = directive.usage();
    usage.resize(std::max(usage.size(), kUsageWidth), ' ');
    files.echo({"  ", usage, " ", directive.summary()});
  }
  files.echo("#help WORD tells more about a directive, or about a command of the database.");
}

}  // namespace

void Control::help(Directive& directive, std::string_view /*detail*/) {
  FileHandle& files = shared_.file_handle;
  if (!directive.has(1)) return echo_list(files);
  std::string phrase = lowered(std::string_view(directive.text).substr(directive.text.find(' ') + 1));
  if (phrase.starts_with("&h")) phrase.erase(0, 2);  // what a line makes of "#"

  bool found = false;
  std::vector<std::string_view> words;
  for (const DirectiveHelp& one : directives()) {
    words.insert(words.end(), one.words.begin(), one.words.end());
    if (std::find(one.words.begin(), one.words.end(), phrase) == one.words.end()) continue;
    echo_directive(files, one);
    found = true;
  }
  for (const tCmd& command : shared_.cmd_list.NewEnum()) {
    const std::string& keyword = command.keyword();
    words.push_back(keyword);
    if (keyword != phrase && !keyword.starts_with(phrase + " ")) continue;
    echo_command(files, command);
    found = true;
  }
  if (found) return;
  files.echo_fault(
      cat({" - There is no directive and no command \"", phrase, "\"", did_you_mean(nearest(phrase, words), "")}));
}

}  // namespace tidewright
