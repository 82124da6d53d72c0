// The directives of a definition file: commands, aliases, text entries, defines, and the loading of such a file.
#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "files/names.h"
#include "processor/shared.h"

namespace tidewright {

// Files a collected definition: the next directive that is no further parameter ends it.
void Control::complete_definition() {
  if (definition_.empty()) return;
  const tCmd& command = shared_.cmd_list.newcmd();
  FileHandle& files = shared_.file_handle;
  if (fulllog_ && command.alias()) {
    files.echo({"Add Alias: ", command.keyword(), " - ", command.Descriptions()});
  } else if (fulllog_) {
    files.echo({"Add Command: ", command.keyword(), " [", command.bytecode(), "]"});
  }
  if (fulllog_) files.echo({"With ", command.parmcnt(), " Paramaters."});
  definition_.clear();
  shared_.cmd_list.add();
}

void Control::addcmmd(Directive& directive, std::string_view /*detail*/) {
  if (!directive.has(1)) raise(ErrorNumber::invalid_call, "addcmmd wants a keyword and a byte code");
  tCmd& command = shared_.cmd_list.newcmd();
  command.bytecode(to_byte(Val(directive.argument(2))));
  command.keyword(lowered(directive.argument(1)));
  command.Descriptions(directive.comment);
  command.alias(false);
  definition_ = "addcmmd";
}

void Control::alias(Directive& directive, std::string_view /*detail*/) {
  const std::size_t blank = directive.text.find(' ');
  if (blank == std::string::npos) raise(ErrorNumber::invalid_call, "alias wants a phrase");
  tCmd& command = shared_.cmd_list.newcmd();
  command.keyword(lowered(std::string_view(directive.text).substr(blank + 1)));
  command.bytecode(0);
  command.Descriptions(directive.comment);
  command.alias(true);
  definition_ = "alias";
}

void Control::addparm(Directive& directive, std::string_view /*detail*/) {
  if (definition_.empty()) raise(ErrorNumber::invalid_call, "addparm follows addcmmd or alias");
  tCmd& command = shared_.cmd_list.newcmd();
  const std::uint8_t n = command.parmcnt();
  command.Parmsise(n, to_byte(whole_number_text(directive.argument(1))));
  if (directive.words.docount(2)) command.ParmDesc(n, lowered(directive.argument(2)));
  command.parmcnt(static_cast<std::uint8_t>(n + 1));
}

void Control::addtext(Directive& directive, std::string_view kind) {
  FileHandle& files = shared_.file_handle;
  const std::string name = directive.argument(1);
  if (name.empty()) {
    files.notice_box(cat({"Text entry error line: ", files.lineno()}));
    files.echo("Cannot use spaces or the symbols ; ' in text assignment except as chr values.. ie: #20 - SPACE");
    return;
  }
  const TextTable::Word word = kind == "text"   ? TextTable::Word::text
                               : kind == "hash" ? TextTable::Word::hash
                                                : TextTable::Word::ctrl;
  try {
    shared_.text_table.add(name, directive.argument(2), word);
  } catch (const RuntimeError& error) {
    if (error.number != ErrorNumber::duplicate_key) throw;
    files.echo({"Duplicate Entry: ", name});
  }
}

void Control::define(Directive& directive, std::string_view /*detail*/) {
  if (!directive.has(2)) raise(ErrorNumber::invalid_call, "define wants a name and a value");
  std::string name = directive.argument(1);
  std::string value = directive.argument(2);
  if (directive.words.docount(3)) {
    name += directive.argument(3);
    value += directive.argument(3);
  }
  FileHandle& files = shared_.file_handle;
  try {
    shared_.define_table.add(name, value);
  } catch (const RuntimeError& error) {
    if (error.number != ErrorNumber::duplicate_key) throw;
    files.echo({"Duplicate Entry: ", name});
    return;
  }
  if (fulllog_) files.echo({"Add ParmDefine: ", name, " - - ", value});
}

void Control::open_and_run(std::string name) {
  std::string mode = "Input";
  if (!shared_.file_handle.OpenFile(name, mode).empty()) run_files();
}

void Control::install(Directive& directive, std::string_view /*detail*/) {
  open_and_run(joined(shared_.file_handle.host().files, directive.argument(1), "install.psc"));
}

void Control::renew_database() {
  shared_.text_table = TextTable();
  shared_.define_table = DefineTable();
  shared_.cmd_list = CmdList(shared_.file_handle, shared_.bank);
  shared_.record = Record(shared_.file_handle, shared_.bank);
}

void Control::load_definitions(Directive& directive) {
  Files& names = shared_.file_handle.host().files;
  open_and_run(joined(names, "base", "includes.psh"));
  if (directive.has(1)) open_and_run(joined(names, directive.argument(1), "includes.psh"));
}

void Control::boot(Directive& directive, std::string_view /*detail*/) {
  shared_.file_buffer = FileBuffer(shared_.file_handle, shared_.bank);
  renew_database();
  load_definitions(directive);
  shared_.file_handle.cls();
}

void Control::codeset(Directive& directive, std::string_view /*detail*/) {
  renew_database();
  load_definitions(directive);
}

}  // namespace tidewright
