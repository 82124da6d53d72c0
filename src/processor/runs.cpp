// Directives about whole files: including scripts, burning the buffers into an image.
#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
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

void Control::kapop(Directive& directive, std::string_view /*detail*/) {
  FileHandle& files = shared_.file_handle;
  // Where a name that was given is dropped, no other may be burned in its place.
  if (directive.name_dropped) return files.echo_fault(" - Nothing is burned");
  std::string name = directive.argument(1);
  if (name.empty()) name = files.filename("fullpath");
  std::string mode = "read";
  if (files.OpenFile(name, mode).empty()) return files.echo_fault(" - Nothing is burned");
  if (!files.can_write()) raise(ErrorNumber::permission_denied, cat({name, " cannot be written"}));
  shared_.file_buffer.burnbuffer();
  files.closefile();
}

void Control::kapush(Directive& directive, std::string_view /*detail*/) {
  if (!directive.has(2)) raise(ErrorNumber::invalid_call, "kapush wants a name and an offset");
  shared_.file_buffer.pushoffsett(directive.argument(1), to_long(whole_number_text(directive.argument(2))));
}

}  // namespace tidewright
