#include "shell/instant_window.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "files/file_handle.h"
#include "processor/control.h"

namespace tidewright {

void InstantWindow::add(std::string_view text) {
  text_.append(kLineEnd).append(text);
  changed_ = true;
  breathe();
}

void InstantWindow::text(std::string text) {
  text_ = std::move(text);
  changed_ = true;
}

void InstantWindow::flush() {
  const std::int64_t start = window_.milliseconds();
  if (std::exchange(changed_, false)) window_.text(text_);
  const std::int64_t end = window_.milliseconds();
  show_again_ = end + std::max(kMillisecondsBetween, (end - start) * kShare);
}

bool InstantWindow::go_on() {
  breathe();
  return !end_wanted_;
}

void InstantWindow::working(FileHandle& files) {
  const std::int64_t now = window_.milliseconds();
  if (!busy_ || now < note_again_) return;
  note_again_ = now + kLongWork;
  window_.note(files.standing());
  noted_ = true;
}

// A long run shows where it is, and listens.
void InstantWindow::breathe() {
  if (!busy_ || window_.milliseconds() < show_again_) return;
  flush();
  window_.process_waiting();
}

void InstantWindow::run(const std::function<void()>& work) {
  waiting_.push_back(work);
  if (!busy_) work_off();
}

void InstantWindow::work_off() {
  busy_ = true;
  try {
    while (!waiting_.empty() && !end_wanted_) {
      const std::function<void()> work = std::move(waiting_.front());
      waiting_.pop_front();
      // A person may have typed since.
      if (!changed_) text_ = window_.text();
      note_again_ = window_.milliseconds() + kLongWork;
      work();
    }
  } catch (const ExitProgram&) {
    end_wanted_ = true;
  }
  busy_ = false;
  if (std::exchange(noted_, false)) window_.note("");
  flush();
  if (end_wanted_) window_.end();
}

std::string InstantWindow::line_at(const std::string& text, std::size_t caret) {
  const std::size_t before = text.substr(0, caret).rfind(kLineEnd);
  const std::size_t start = before == std::string::npos ? 0 : before + kLineEnd.size();
  const std::size_t after = text.find(kLineEnd, caret);
  return text.substr(start, after == std::string::npos ? after : after - start);
}

void InstantWindow::enter() {
  const std::string text = window_.text();
  if (text.empty()) return;
  run([this, line = line_at(text, window_.caret())] { run_line(line); });
  window_.caret_to_end();
}

void InstantWindow::chosen(MenuItem item) {
  run([this, item] { run_item(item); });
}

void InstantWindow::handed_over(std::string line) {
  run([this, line = std::move(line)] { run_command_line(line); });
}

// While lines run, the window closes behind the one that is under way.
bool InstantWindow::closing() {
  if (busy_) end_wanted_ = true;
  return !busy_;
}

}  // namespace tidewright
