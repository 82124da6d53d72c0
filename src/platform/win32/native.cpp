#include "platform/native.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/win32/win32_host.h"
#include "platform/win32/win32_registry.h"

// The run-time puts file names in the place of arguments with wildcards, unless it is told otherwise by this name.
// Here they are lines such as "#delete *.tmp".
extern "C" int _dowildcard;
int _dowildcard = 0;

namespace tidewright {
namespace {

HANDLE handle_of(Stream stream) {
  switch (stream) {
    case Stream::input:
      return ::GetStdHandle(STD_INPUT_HANDLE);
    case Stream::output:
      return ::GetStdHandle(STD_OUTPUT_HANDLE);
    case Stream::error:
      break;
  }
  return ::GetStdHandle(STD_ERROR_HANDLE);
}

}  // namespace

struct NativeMachine::Parts {
  Win32Files files;
  Win32Program program;
  Win32Clock clock;
  Win32Desktop desktop;
  Win32Registry registry;
  // The console as it was before; 0 where input or output goes elsewhere.
  UINT input_code_page = 0;
  UINT output_code_page = 0;
  DWORD output_mode = 0;
};

NativeMachine::NativeMachine(const char*) : parts_(std::make_unique<Parts>()) {
  // An empty drive is an error like others, not a box of the system's.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const int input = _fileno(stdin);
  if (is_terminal(Stream::input)) {
    // What is typed is in the code page of the names and the scripts, not in the console's older one.
    parts_->input_code_page = ::GetConsoleCP();
    ::SetConsoleCP(::GetACP());
  } else if (input >= 0) {
    // Lines that come from a file or a program are taken as they are: in the run-time's text mode a byte 26 ends them.
    _setmode(input, _O_BINARY);
  }
  if (!is_terminal(Stream::output)) return;
  // What the console shows is made visible as UTF-8, and as nothing else, but for the codes that clear the screen.
  parts_->output_code_page = ::GetConsoleOutputCP();
  ::SetConsoleOutputCP(CP_UTF8);
  const HANDLE output = handle_of(Stream::output);
  ::GetConsoleMode(output, &parts_->output_mode);
  ::SetConsoleMode(output, parts_->output_mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

NativeMachine::~NativeMachine() {
  if (parts_->input_code_page != 0) ::SetConsoleCP(parts_->input_code_page);
  if (parts_->output_code_page == 0) return;
  ::SetConsoleOutputCP(parts_->output_code_page);
  ::SetConsoleMode(handle_of(Stream::output), parts_->output_mode);
}

Host NativeMachine::host(User& user) {
  return {parts_->files, parts_->program, parts_->clock, parts_->desktop, parts_->registry, user};
}

bool NativeMachine::is_terminal(Stream stream) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle_of(stream), &mode) != 0;
}

}  // namespace tidewright
