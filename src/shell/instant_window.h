// The console in a window: its text, and the lines that wait for their turn. It knows no platform; the window does.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "files/instant.h"
#include "platform/window.h"

namespace tidewright {

class InstantWindow : public Instant, public WindowEvents {
 public:
  /// Shows the text at most this often while lines run, and less often where showing it takes long: a run must not wait
  /// for the window more than a small share of its time.
  static constexpr std::int64_t kMillisecondsBetween = 30;
  static constexpr std::int64_t kShare = 10;
  /// Work that takes longer is noted in the caption, as often.
  static constexpr std::int64_t kLongWork = 500;

  explicit InstantWindow(Window& window) : window_(window) {}

  /// What to do with a line, with the command line of a start, and with a choice of the menu. Set before the window
  /// runs.
  std::function<void(const std::string&)> run_line;
  std::function<void(const std::string&)> run_command_line;
  std::function<void(MenuItem)> run_item;

  /// Runs `work`, and then what arrived meanwhile. While work is under way it is only kept for later. An ExitProgram
  /// that it throws ends the window.
  void run(const std::function<void()>& work);

  // Instant
  void add(std::string_view text) override;
  bool Visible() const override { return window_.visible(); }
  void Visible(bool visible) override { window_.visible(visible); }
  const std::string& text() const override { return text_; }
  void text(std::string text) override;
  void flush() override;
  bool go_on() override;
  void working(FileHandle& files) override;

  // WindowEvents
  void enter() override;
  void chosen(MenuItem item) override;
  void handed_over(std::string line) override;
  bool closing() override;

  /// The line of `text` that the caret stands in, without its end.
  static std::string line_at(const std::string& text, std::size_t caret);

 private:
  void work_off();
  void breathe();

  Window& window_;
  std::string text_;
  bool changed_ = false;         // the box does not show it yet
  std::int64_t show_again_ = 0;  // milliseconds
  std::int64_t note_again_ = 0;  // the same
  bool noted_ = false;
  bool busy_ = false;
  bool end_wanted_ = false;  // the window was closed while lines ran
  std::deque<std::function<void()>> waiting_;
};

}  // namespace tidewright
