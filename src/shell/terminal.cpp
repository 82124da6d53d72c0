#include "shell/terminal.h"

#include <istream>
#include <ostream>
#include <utility>

#include "base/text.h"
#include "files/file_handle.h"
#include "shell/visible.h"

namespace tidewright {
namespace {

constexpr std::size_t kManyWaiting = 65536;

// Clears the screen and its scroll-back, and goes home.
constexpr std::string_view kClearScreen = "\x1B[2J\x1B[3J\x1B[H";

constexpr std::chrono::milliseconds kLongWork{500};
constexpr std::chrono::milliseconds kBetweenStatuses{100};

// A line too long for the terminal is cut by it, since wrapping is off meanwhile.
constexpr std::string_view kStartOfStatus = "\r\x1B[K\x1B[?7l";
constexpr std::string_view kEndOfStatus = "\x1B[?7h";
constexpr std::string_view kNoStatus = "\r\x1B[K";

}  // namespace

void StatusLine::working(FileHandle& files) {
  if (!is_terminal_) return;
  const Time now = std::chrono::steady_clock::now();
  if (!show_again_) show_again_ = now + kLongWork;
  if (now < *show_again_) return;
  show_again_ = now + kBetweenStatuses;
  std::string text(kStartOfStatus);
  append_visible(text, files.standing());
  error_ << text << kEndOfStatus << std::flush;
  shown_ = true;
}

void StatusLine::clear() {
  if (std::exchange(shown_, false)) error_ << kNoStatus << std::flush;
}

void StatusLine::done() {
  clear();
  show_again_.reset();
}

void TerminalConsole::add(std::string_view text) {
  text_.append(kLineEnd).append(text);
  append_visible(waiting_, text);
  waiting_ += '\n';
  if (waiting_.size() >= kManyWaiting) write_waiting();
}

void TerminalConsole::text(std::string text) {
  text_ = std::move(text);
  if (text_.empty() && is_terminal_ && visible_) waiting_ += kClearScreen;
}

void TerminalConsole::flush() {
  status_.done();
  write_waiting();
}

void TerminalConsole::write_waiting() {
  status_.clear();
  output_ << waiting_ << std::flush;
  waiting_.clear();
}

void TerminalUser::show(std::string_view title, std::string_view text) {
  std::string line = cat({title, title.empty() ? "" : " "});
  append_visible(line, text);
  error_ << line << std::endl;
}

void TerminalUser::critical_box(const std::string& text) {
  show("CRITICAL ERROR:", text);
}
void TerminalUser::notice_box(const std::string& text) {
  show("Notice:", text);
}
void TerminalUser::message_box(const std::string& text) {
  show("", text);
}

std::string TerminalUser::ask(std::string_view title, std::string_view prompt) {
  std::string line = cat({title, ": "});
  append_visible(line, prompt);
  error_ << line << ' ' << std::flush;
  std::string reply;
  if (!is_terminal_ || !std::getline(input_, reply)) {
    error_ << "(cancelled)" << std::endl;
    return "";
  }
  return reply;
}

bool TerminalUser::yes_no_box(const std::string& text, const std::string& title) {
  if (!answer_ && is_terminal_) return lowered(ask(title, text + " (y/n)")).starts_with('y');
  const bool yes = answer_.value_or(false);
  show(title + ":", text + (yes ? " Yes" : " No"));
  return yes;
}

std::string TerminalUser::input_box(const std::string& prompt, const std::string& title) {
  return ask(title, prompt);
}

std::string TerminalUser::file_box(const std::string& title, bool /*saving*/) {
  return ask(title, "file:");
}

}  // namespace tidewright
