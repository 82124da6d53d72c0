// The console window on Windows: a frame, its menus and an EDIT control that fills it.
#pragma once

#include <deque>
#include <string>
#include <windows.h>

#include "platform/window.h"

namespace tidewright {

class ConsoleWindow : public Window {
 public:
  /// Makes the window, invisible, in its last place. Raises OutOfMemory where Windows refuses.
  ConsoleWindow();
  ~ConsoleWindow() override;
  ConsoleWindow(const ConsoleWindow&) = delete;
  ConsoleWindow& operator=(const ConsoleWindow&) = delete;

  HWND handle() const { return frame_; }

  std::string text() override;
  void text(std::string_view text) override;
  std::size_t caret() override;
  void caret_to_end() override;
  void note(std::string_view text) override;
  bool visible() const override { return visible_; }
  void visible(bool visible) override;
  void process_waiting() override;
  void listen(WindowEvents& events) override { events_ = &events; }
  void run() override;
  void end() override;
  std::int64_t milliseconds() override;

 private:
  static LRESULT CALLBACK frame_procedure(HWND window, UINT message, WPARAM word, LPARAM data);
  static LRESULT CALLBACK box_procedure(HWND window, UINT message, WPARAM word, LPARAM data);
  LRESULT handle_message(UINT message, WPARAM word, LPARAM data);
  void make_box();
  void make_font();
  void fill_frame();
  void set_tab_stops();
  void restore_place();
  void keep_place();
  bool take_copied(const COPYDATASTRUCT* block);
  void dispatch(MSG& message);

  HWND frame_ = nullptr;
  HWND box_ = nullptr;
  HFONT font_ = nullptr;
  HACCEL keys_ = nullptr;
  WNDPROC box_before_ = nullptr;
  WindowEvents* events_ = nullptr;
  std::deque<std::string> handed_over_;  // by other starts, not yet told
  int first_show_ = SW_SHOW;
  bool visible_ = false;
  bool ended_ = false;
};

}  // namespace tidewright
