// FileHandle's messages: the console, the session log and the boxes.
#include <algorithm>
#include <cstdio>

#include "base/errors.h"
#include "base/text.h"
#include "files/file_handle.h"
#include "files/names.h"

namespace tidewright {
namespace {

// The console is a rolling view: a text longer than the first is cut to the second.
constexpr std::size_t kConsoleLimit = 10000;
constexpr std::size_t kConsoleKept = 8000;

// The console is told after as many messages that work is under way: a small part of a millisecond's.
constexpr std::int64_t kMessagesBetween = 256;

std::string formatted(const std::tm& time, const char* pattern) {
  char text[32];
  return {text, std::strftime(text, sizeof text, pattern, &time)};
}

}  // namespace

FileHandle::FileHandle(const Host& host, const std::string& log_folder) : host_(host) {
  try {
    if (!host_.files.find(log_folder)) host_.files.make_folder(log_folder);
  } catch (const RuntimeError&) {
    // Where it cannot be made, opening the log says so.
  }
  const std::tm now = host_.clock.now();
  const std::string path =
      joined(host_.files, log_folder, cat({"[", formatted(now, "%Y%m%d-%H%M"), "]", host_.program.name(), ".log"}));
  std::unique_ptr<File> log = host_.files.open(path, Access::create);
  files_[kLogFile].emplace(std::move(log), path, host_.files.whole_path(path), false, true);
  echo({"Logging started", formatted(now, "%Y-%m-%d %H:%M:%S"), kLineEnd});
  ++level_;
}

FileHandle::~FileHandle() {
  close_all();
  flush_output();
}

int FileHandle::lowest_free_number() const {
  int number = kLogFile;
  while (number <= kLastFile && files_[static_cast<std::size_t>(number)]) ++number;
  return number;
}

void FileHandle::echo(std::string_view text, bool underline, int indent) {
  if (text.empty()) return;
  const std::string line(underline ? text.size() - 1 : 0, '-');
  try {
    if (console_ != nullptr && console_->text().size() > kConsoleLimit) {
      console_->text(console_->text().substr(console_->text().size() - kConsoleKept));
    }
    if (console_ != nullptr && console_->Visible()) {
      console_->add(text);
      if (underline) console_->add(line);
    }
  } catch (const RuntimeError&) {
    // A console that fails must not keep the line from the log.
  }
  const std::string prefix = indent > 0 ? std::string(static_cast<std::size_t>(indent), ' ') + "- " : std::string();
  write_log({prefix, text});
  if (underline) write_log({"/", line});
}

void FileHandle::echo(std::initializer_list<Piece> pieces) {
  if (console_ != nullptr && console_->Visible()) {
    cat_into(line_, pieces);
    echo(std::string_view(line_));
  } else {
    write_log(pieces);
  }
}

void FileHandle::write_log(std::initializer_list<Piece> pieces) {
  std::optional<DataFile>& log = files_[kLogFile];
  if (!log) return;
  static constexpr std::string_view kMarks = "||||||||||||||||";
  const int marks = std::max(lowest_free_number() - 2, 0);
  try {
    log->write(kMarks.substr(0, static_cast<std::size_t>(marks)), pieces, kLineEnd);
    if (++messages_ % kMessagesBetween == 0 && console_ != nullptr) console_->working(*this);
  } catch (const RuntimeError&) {
    // A message is never worth an error: the console has the line.
  }
}

void FileHandle::echo_fault(std::string_view text) {
  troubled_ = true;
  echo(text);
}

std::string FileHandle::standing() {
  if (level_ == kLogFile || !files_[static_cast<std::size_t>(level_)]) return {};
  const auto kilobytes = [](std::int64_t bytes) { return (bytes + 1023) / 1024; };
  DataFile& file = data_file();
  std::string text = file.name();
  if (file.lines_read() > 0) text += cat({":", file.lines_read()});
  text += cat({", ", kilobytes(file.position())});
  // Asking for the length would write what waits to be written.
  if (!file.has_waiting()) text += cat({" of ", kilobytes(file.length())});
  return text + cat({" KB, ", messages_, " messages"});
}

void FileHandle::cls() {
  if (console_ != nullptr) console_->text("");
}

void FileHandle::critical_box(const std::string& text) {
  troubled_ = true;
  flush_output();
  host_.user.critical_box(text);
}

void FileHandle::notice_box(const std::string& text) {
  troubled_ = true;
  flush_output();
  host_.user.notice_box(text);
}

void FileHandle::message_box(const std::string& text) {
  troubled_ = true;
  flush_output();
  host_.user.message_box(text);
}

bool FileHandle::yes_no_box(const std::string& text, const std::string& title) {
  flush_output();
  return host_.user.yes_no_box(text, title);
}

std::string FileHandle::input_box(const std::string& prompt, const std::string& title) {
  flush_output();
  return host_.user.input_box(prompt, title);
}

void FileHandle::flush_output() {
  try {
    if (console_ != nullptr) console_->flush();
    if (files_[kLogFile]) files_[kLogFile]->flush();
  } catch (const RuntimeError&) {
    // As in echo: messages never raise.
  }
}

}  // namespace tidewright
