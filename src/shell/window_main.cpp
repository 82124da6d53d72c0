// The program with the window: its start, its one window, its end.
#include <functional>
#include <memory>
#include <string>

#include "base/errors.h"
#include "base/text.h"
#include "base/version.h"
#include "files/names.h"
#include "platform/native.h"
#include "platform/native_window.h"
#include "processor/shared.h"
#include "shell/instant_window.h"
#include "shell/menus.h"

namespace tidewright {
namespace {

constexpr std::string_view kBanner =
    "WELCOME TO TIDEWRIGHT\r\nMade by the Tidewright authors.\r\nType a line and press Enter; the menu File opens "
    "files.\r\n";

// The desktop names the file of a command line by its whole path, and a directive looks in the current folder.
void visit_named_file(Files& files, const std::string& line) {
  const std::size_t open = line.find('"');
  const std::size_t close = open == std::string::npos ? open : line.find('"', open + 1);
  if (close == std::string::npos) return;
  const std::string path = line.substr(open + 1, close - open - 1);
  if (!is_absolute(path)) return;
  try {
    files.change_folder(folder_of(path));
  } catch (const RuntimeError&) {
    // Then the directive tells that it does not find the file.
  }
}

// What no Enter began has no line break behind its output, and what a person types next must not stand in that line.
void run_apart(InstantWindow& console, const std::function<void()>& work) {
  const std::string before = console.text();
  work();
  const std::string& text = console.text();
  if (text != before && !text.empty() && !text.ends_with(kLineEnd)) console.text(cat({text, kLineEnd}));
}

int run_window(const char* command, const std::string& line) {
  NativeMachine machine(command);
  NativeWindow native;
  const Host host = machine.host(native.user());
  Window& window = native.window();
  InstantWindow console(window);
  const std::string log_folder = joined(host.files, host.program.folder(), "log");
  std::unique_ptr<Shared> shared;
  try {
    shared = std::make_unique<Shared>(host, console, log_folder);
  } catch (const RuntimeError& error) {
    host.user.critical_box(cat({"The session log cannot be opened in ", log_folder, ": ", error.description}));
    return 1;
  }
  console.run_line = [&](const std::string& text) {
    shared->control.pending(text);
    shared->file_handle.flush_output();
  };
  console.run_command_line = [&](const std::string& text) {
    visit_named_file(host.files, text);
    run_apart(console, [&] { console.run_line(text); });
  };
  console.run_item = [&](MenuItem item) {
    run_apart(console, [&] { shared->control.guarded([&] { run_menu(*shared, item); }); });
    shared->file_handle.flush_output();
  };
  window.listen(console);
  window.visible(true);
  console.text(std::string(kBanner));
  shared->file_handle.flush_output();
  if (!line.empty()) console.handed_over(line);
  window.run();
  shared->file_handle.close_all();
  shared->file_handle.flush_output();
  return 0;
}

}  // namespace
}  // namespace tidewright

int main(int /*argc*/, char** argv) {
  using tidewright::NativeWindow;
  const std::string line = NativeWindow::command_line();
  if (NativeWindow::first_start()) return tidewright::run_window(argv[0], line);
  NativeWindow::hand_over(line);
  return 0;
}
