#include "shell/menus.h"

#include <string>
#include <string_view>

#include "base/text.h"
#include "files/names.h"

namespace tidewright {
namespace {

// Asks for a file of the folder `start` and makes its folder the current one. The whole name; empty when cancelled.
std::string chosen_file(FileHandle& files, std::string start, std::string_view mode) {
  files.Dos("cd", start);
  std::string name = files.getfile(mode);
  if (!name.empty()) files.filename("fullpath", name);
  return name;
}

// Asks for a file and runs `line` with its short name, on empty buffers. False when cancelled.
bool convert(Shared& shared, std::string_view mode, std::string_view line) {
  FileHandle& files = shared.file_handle;
  const std::string name = chosen_file(files, "C:\\", mode);
  if (name.empty()) return false;
  shared.control.pending(cat({"#kableewy; ", line, " ", files.shortenname(name)}));
  return true;
}

void load_database(Shared& shared) {
  FileHandle& files = shared.file_handle;
  const std::string name = chosen_file(files, files.host().program.folder(), "Open");
  if (name.empty()) return;
  shared.control.pending("#boot " + files.shortenname(files.filename("path")));
  shared.instant.add(cat({"Loaded Database ", name}));
}

// The manual stands beside the program, as the packages bring it.
void open_manual(Shared& shared) {
  const Host& host = shared.file_handle.host();
  const std::string page = joined(host.files, joined(host.files, host.program.folder(), "manual"), "index.html");
  if (host.files.find(page)) return host.desktop.show_document(page);
  shared.file_handle.message_box(cat({"The manual is not there: ", page}));
}

}  // namespace

void run_menu(Shared& shared, MenuItem item) {
  switch (item) {
    case MenuItem::database:
      return load_database(shared);
    case MenuItem::decode:
      convert(shared, "Open", "#decode");
      return;
    case MenuItem::encode:
      convert(shared, "Write", "#encode");
      return;
    case MenuItem::source: {
      shared.control.take_script_written();
      if (!convert(shared, "Open", "#rawdecode")) return;
      const std::string script = shared.control.take_script_written();
      if (!script.empty()) shared.file_handle.host().desktop.edit_text(script);
      return;
    }
    case MenuItem::exit:
      throw ExitProgram{};
    case MenuItem::help:
      return open_manual(shared);
    case MenuItem::select_all:
      return;
  }
}

}  // namespace tidewright
