// How a directive finds its row of the table, and the directives that set something or do one small thing.
#include <algorithm>

#include "base/errors.h"
#include "base/text.h"
#include "base/version.h"
#include "processor/shared.h"

namespace tidewright {
namespace {

// A report of Dos in lines: at line ends, and at the NUL characters between the entries of a listing, whose short names
// are shown where they differ.
void echo_report(FileHandle& files, std::string_view report) {
  if (report == FileHandle::kFailedCommand) return files.echo_fault(report);
  while (!report.empty()) {
    const std::size_t end = std::min(report.find('\0'), report.find(kLineEnd));
    const std::string_view line = report.substr(0, end);
    const std::size_t tab = line.find('\t');
    const std::string_view name = line.substr(0, tab);
    const std::string_view short_name = tab == std::string_view::npos ? "" : line.substr(tab + 1);
    const bool differs = !short_name.empty() && !same_text(name, short_name);
    files.echo({name, differs ? "  " : "", differs ? short_name : ""});
    if (end == std::string_view::npos) return;
    report.remove_prefix(end + (report[end] == '\0' ? 1 : kLineEnd.size()));
  }
}

}  // namespace

void Control::ProcessDirective(const std::string& text, const std::string& comment) {
  Directive directive;
  directive.text = text;
  directive.comment = comment;
  directive.name_dropped = shared_.file_handle.ShrinkName(directive.text);
  directive.words.kaSplit(directive.text, ' ');
  const std::string word = lowered(directive.words.values(0));
  if (word != "addparm") complete_definition();
  const Row* const row = find_directive(word);
  if (row == nullptr) return raw_data(directive, {});
  (this->*row->run)(directive, row->detail);
}

void Control::nothing(Directive& /*directive*/, std::string_view /*detail*/) {}

void Control::lock(Directive& /*directive*/, std::string_view state) {
  lock_ = state == "on";
}

void Control::dos(Directive& directive, std::string_view command) {
  if (directive.name_dropped) return;
  std::string argument = command == "cd.." ? ".." : directive.argument(1);
  echo_report(shared_.file_handle, shared_.file_handle.Dos(command == "cd.." ? "cd" : command, argument));
}

void Control::file(Directive& directive, std::string_view /*detail*/) {
  FileHandle& files = shared_.file_handle;
  // A file that cannot be set leaves none: a burn must not go to the one set before, nor to a namesake where we are.
  if (directive.name_dropped) files.filename("filename", "");
  if (!directive.words.docount(1) || files.filename("fullpath", directive.argument(1))) return;
  files.filename("filename", "");
  files.echo_fault(cat({" - There is no folder of ", directive.argument(1)}));
}

void Control::whoami(Directive& /*directive*/, std::string_view /*detail*/) {
  shared_.file_handle.echo({kTitle, " ", kVersion});
}

void Control::echo_setting(std::string_view name, bool on) {
  FileHandle& files = shared_.file_handle;
  files.echo({files.lineno(), ": ", name, " ", on ? "True" : "False"});
}

void Control::fulllog(Directive& directive, std::string_view /*detail*/) {
  fulllog_ = directive.says("on");
  echo_setting("fulllog", fulllog_);
}

void Control::autopop(Directive& directive, std::string_view /*detail*/) {
  autopop_ = directive.says("on");
}

void Control::silent(Directive& directive, std::string_view /*detail*/) {
  shared_.instant.Visible(true);
  if (directive.says("on")) shared_.instant.Visible(false);
}

void Control::autobank(Directive& directive, std::string_view /*detail*/) {
  shared_.bank.autobank = !directive.says("off");
  echo_setting("Autobank", shared_.bank.autobank);
}

// Sets nothing, and speaks of Autobank. Both are wanted.
void Control::autobuffer(Directive& directive, std::string_view /*detail*/) {
  echo_setting("Autobank", directive.says("on"));
}

void Control::f_echo(Directive& directive, std::string_view /*detail*/) {
  f_echo_ = directive.says("on");
}

void Control::cls(Directive& /*directive*/, std::string_view /*detail*/) {
  shared_.file_handle.cls();
}

void Control::kapow(Directive& /*directive*/, std::string_view /*detail*/) {
  FileHandle& files = shared_.file_handle;
  files.critical_box(cat({"User Caused Crash: line ", files.lineno()}));
}

void Control::kableewy(Directive& /*directive*/, std::string_view /*detail*/) {
  shared_.file_buffer = FileBuffer(shared_.file_handle, shared_.bank);
  shared_.file_handle.echo(" - Buffer Blown -");
}

void Control::exit(Directive& /*directive*/, std::string_view /*detail*/) {
  throw ExitProgram{};
}

}  // namespace tidewright
