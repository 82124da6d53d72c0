#include "platform/native.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/posix_host.h"

namespace tidewright {

struct NativeMachine::Parts {
  explicit Parts(const char* command) : program(command) {}

  PosixFiles files;
  PosixProgram program;
  PosixClock clock;
  PosixDesktop desktop;
  NoRegistry registry;
};

NativeMachine::NativeMachine(const char* command) : parts_(std::make_unique<Parts>(command)) {
  // Neither a reader of our output that goes away nor a limit on file sizes may end the program inside a burn.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // A standard stream that was closed before the start would give its number, and then our output, to the first file.
  int number = open("/dev/null", O_RDWR);
  while (number >= 0 && number <= STDERR_FILENO) number = open("/dev/null", O_RDWR);
  if (number > STDERR_FILENO) close(number);
}

NativeMachine::~NativeMachine() = default;

Host NativeMachine::host(User& user) {
  return {parts_->files, parts_->program, parts_->clock, parts_->desktop, parts_->registry, user};
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
