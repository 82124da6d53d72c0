#include "shell/terminal.h"

#include <istream>
#include <ostream>

#include "base/text.h"
#include "shell/visible.h"

namespace tidewright {
namespace {

constexpr std::size_t kManyWaiting = 65536;

// Clears the screen and its scroll-back, and goes home.
constexpr std::string_view kClearScreen = "\x1B[2J\x1B[3J\x1B[H";

}  // namespace

void TerminalConsole::add(std::string_view text) {
  text_.append(kLineEnd).append(text);
  append_visible(waiting_, text);
  waiting_ += '\n';
  if (waiting_.size() >= kManyWaiting) flush();
}

void TerminalConsole::text(std::string text) {
  text_ = std::move(text);
  if (text_.empty() && is_terminal_ && visible_) waiting_ += kClearScreen;
}

void TerminalConsole::flush() {
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
