// The console window of the machine that the program really runs on, where it has one, and the rule that it has but
// one.
#pragma once

#include <memory>
#include <string>

#include "platform/host.h"
#include "platform/window.h"

namespace tidewright {

class NativeWindow {
 public:
  /// Makes the window, not yet visible, where it was last. Raises OutOfMemory where there is none to be had.
  NativeWindow();
  ~NativeWindow();
  NativeWindow(const NativeWindow&) = delete;
  NativeWindow& operator=(const NativeWindow&) = delete;

  Window& window();
  /// The boxes of the desktop, before this window.
  User& user();

  /// Whether no other start of the program runs.
  static bool first_start();

  /// Brings the window of the program that runs already to the front, and hands it `line`, where that is not empty.
  /// Tells in a box where no window appears in time.
  static void hand_over(const std::string& line);

  /// What stands behind the program's name in its command line, as it was typed.
  static std::string command_line();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tidewright
