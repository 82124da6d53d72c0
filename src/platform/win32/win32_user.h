// The person at a Windows desktop: the system's own boxes. The window's program asks through them; the terminal program
// asks in its terminal.
#pragma once

#include "platform/host.h"

struct HWND__;

namespace tidewright {

/// Every box stands before the owner, which takes no input until it is answered.
class Win32User final : public User {
 public:
  /// The window of the program, an HWND. Without one, boxes stand on their own.
  void owner(HWND__* window) { owner_ = window; }

  void critical_box(const std::string& text) override;
  void notice_box(const std::string& text) override;
  void message_box(const std::string& text) override;
  bool yes_no_box(const std::string& text, const std::string& title) override;
  std::string input_box(const std::string& prompt, const std::string& title) override;
  /// Starts in the current folder, and leaves it as it is. Asks before it names an existing file to write.
  std::string file_box(const std::string& title, bool saving) override;

 private:
  HWND__* owner_ = nullptr;
};

}  // namespace tidewright
