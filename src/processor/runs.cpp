// Directives about whole files: including scripts, burning the buffers into an image.
#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "buffers/burn_journal.h"
#include "processor/shared.h"

namespace tidewright {

// Inside a running file this only opens the file: the runner reads it next, and then goes on with the outer one.
void Control::include(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped) return;
  std::string name = directive.argument(1);
  std::string mode = "Input";
  if (!shared_.file_handle.OpenFile(name, mode).empty() && !running_) run_files();
}

void Control::endfile(Directive& /*directive*/, std::string_view /*detail*/) {
  shared_.file_handle.closefile();
}

// Opens the image that a directive names, or else the file that #file set. Where a name that was given is dropped, no
// other is taken in its place. False, and told, when nothing is opened.
bool Control::open_image(Directive& directive, std::string_view failure) {
  FileHandle& files = shared_.file_handle;
  std::string name = directive.argument(1);
  if (name.empty()) name = files.filename("fullpath");
  std::string mode = "read";
  if (!directive.name_dropped && !files.OpenFile(name, mode).empty()) return true;
  files.echo_fault(failure);
  return false;
}

// Makes the image that is open whole where a burn of it was cut short. Whether one was.
bool Control::mend_image() {
  FileHandle& files = shared_.file_handle;
  const DataFile& image = files.data_file();
  if (!image.writable()) raise(ErrorNumber::permission_denied, cat({image.name(), " cannot be written"}));
  return BurnJournal(files).recover();
}

void Control::kapop(Directive& directive, std::string_view /*detail*/) {
  if (!open_image(directive, " - Nothing is burned")) return;
  mend_image();
  shared_.file_buffer.burnbuffer(journal_);
  shared_.file_handle.closefile();
}

// A burn that was cut short was the last one.
void Control::unburn(Directive& directive, std::string_view /*detail*/) {
  if (!open_image(directive, " - Nothing is taken back")) return;
  if (!mend_image()) BurnJournal(shared_.file_handle).unburn();
  shared_.file_handle.closefile();
}

void Control::burns(Directive& directive, std::string_view /*detail*/) {
  if (!open_image(directive, " - There is no image to look at")) return;
  BurnJournal(shared_.file_handle).tell();
  shared_.file_handle.closefile();
}

void Control::journal(Directive& directive, std::string_view /*detail*/) {
  journal_ = !directive.says("off");
  echo_setting("Journal", journal_);
}

void Control::kapush(Directive& directive, std::string_view /*detail*/) {
  if (!directive.has(2)) raise(ErrorNumber::invalid_call, "kapush wants a name and an offset");
  shared_.file_buffer.pushoffsett(directive.argument(1), to_long(whole_number_text(directive.argument(2))));
}

}  // namespace tidewright
