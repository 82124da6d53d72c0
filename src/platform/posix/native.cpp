#include "platform/native.h"

#include <csignal>
#include <unistd.h>

#include "platform/posix/posix_host.h"

namespace tidewright {

struct NativeMachine::Parts {
  explicit Parts(const char* command) : program(command) {}

  PosixFiles files;
  PosixProgram program;
  PosixClock clock;
  PosixDesktop desktop;
};

NativeMachine::NativeMachine(const char* command) : parts_(std::make_unique<Parts>(command)) {
  // A reader of our output that goes away must not end the program in the middle of a burn.
  std::signal(SIGPIPE, SIG_IGN);
}

NativeMachine::~NativeMachine() = default;

Host NativeMachine::host(User& user) {
  return {parts_->files, parts_->program, parts_->clock, parts_->desktop, user};
}

bool NativeMachine::is_terminal(Stream stream) {
  switch (stream) {
    case Stream::input:
      return isatty(STDIN_FILENO) != 0;
    case Stream::output:
      return isatty(STDOUT_FILENO) != 0;
    case Stream::error:
      return isatty(STDERR_FILENO) != 0;
  }
  return false;
}

}  // namespace tidewright
