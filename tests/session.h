// A whole session on an in-memory machine: lines in, console text, log, boxes and files out.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/memory/memory_host.h"
#include "processor/shared.h"

namespace tidewright {

/// A console that keeps the lines it was given.
class ListConsole : public Instant {
 public:
  void add(std::string_view text) override {
    text_.append("\r\n").append(text);
    lines.emplace_back(text);
  }
  bool Visible() const override { return visible_; }
  void Visible(bool visible) override { visible_ = visible; }
  const std::string& text() const override { return text_; }
  void text(std::string text) override { text_ = std::move(text); }
  void flush() override {}

  std::vector<std::string> lines;

 private:
  bool visible_ = true;
  std::string text_;
};

struct Session {
  explicit Session(MemoryMachine::Style style = MemoryMachine::Style::posix)
      : machine(style), log_folder(style == MemoryMachine::Style::posix ? "/logs" : "C:\\logs") {
    machine.add_file(
        style == MemoryMachine::Style::posix ? "/tidewright/base/includes.psh" : "C:\\tidewright\\base\\includes.psh",
        "#do\r\n");
    shared = std::make_unique<Shared>(machine.host(), console, log_folder);
  }

  /// Runs one line and returns the console lines that it added, joined by line feeds.
  std::string run(const std::string& line) {
    const std::size_t before = console.lines.size();
    shared->control.pending(line);
    std::string added;
    for (std::size_t i = before; i < console.lines.size(); ++i) added += (i > before ? "\n" : "") + console.lines[i];
    return added;
  }

  /// The session log so far.
  std::string log() {
    shared->file_handle.flush_output();
    const std::string separator = log_folder[0] == '/' ? "/" : "\\";
    return machine.bytes(log_folder + separator + "[20261115-1601]tidewright.log");
  }

  std::string_view bytes(int buffer) const { return shared->file_buffer.bytes(buffer); }

  MemoryMachine machine;
  std::string log_folder;
  ListConsole console;
  std::unique_ptr<Shared> shared;
};

}  // namespace tidewright
