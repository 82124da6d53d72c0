// The machine that the program really runs on. Which one that is, the build decides: each platform's folder implements
// this once.
#pragma once

#include <memory>

#include "platform/host.h"

namespace tidewright {

enum class Stream { input, output, error };

/// The interfaces of the real machine, but for the user, whom the console asks.
class NativeMachine {
 public:
  /// `command` is what the program was started as.
  explicit NativeMachine(const char* command);
  ~NativeMachine();
  NativeMachine(const NativeMachine&) = delete;
  NativeMachine& operator=(const NativeMachine&) = delete;

  Host host(User& user);

  /// Whether a person sits at the other end of this standard stream.
  static bool is_terminal(Stream stream);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tidewright
