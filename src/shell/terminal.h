// The terminal console: the program's console and its boxes on the three standard streams.
#pragma once

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "files/instant.h"
#include "platform/host.h"

namespace tidewright {

/// One line of a terminal that says how far long work is, and goes when it is done. Nothing of it is ever written where
/// standard error is no terminal.
class StatusLine {
 public:
  StatusLine(std::ostream& error, bool is_terminal) : error_(error), is_terminal_(is_terminal) {}

  /// Shows how far the work is, now and then, when it has taken a while.
  void working(FileHandle& files);
  /// Takes the line away: something else is written.
  void clear();
  /// The work is done, or waits for the user.
  void done();

 private:
  using Time = std::chrono::steady_clock::time_point;

  std::ostream& error_;
  bool is_terminal_;
  bool shown_ = false;
  std::optional<Time> show_again_;  // nothing while no work is known of
};

/// Echo lines on standard output, made visible, collected until flush() or until there are many.
class TerminalConsole : public Instant {
 public:
  /// On a terminal, clearing the console clears the screen. Long work shows how far it is in `status`.
  TerminalConsole(std::ostream& output, bool is_terminal, StatusLine& status)
      : output_(output), is_terminal_(is_terminal), status_(status) {}

  void add(std::string_view text) override;
  bool Visible() const override { return visible_; }
  void Visible(bool visible) override { visible_ = visible; }
  const std::string& text() const override { return text_; }
  void text(std::string text) override;
  void flush() override;
  void working(FileHandle& files) override { status_.working(files); }

 private:
  void write_waiting();

  std::ostream& output_;
  bool is_terminal_;
  StatusLine& status_;
  bool visible_ = true;
  std::string text_;
  std::string waiting_;
};

/// Boxes on standard error, each with its title; questions are answered on standard input when that is a terminal.
class TerminalUser : public User {
 public:
  /// `answer` is what every yes/no box gets; without one it is asked on a terminal and No elsewhere.
  TerminalUser(std::istream& input, bool is_terminal, std::ostream& error, std::optional<bool> answer)
      : input_(input), is_terminal_(is_terminal), error_(error), answer_(answer) {}

  void critical_box(const std::string& text) override;
  void notice_box(const std::string& text) override;
  void message_box(const std::string& text) override;
  bool yes_no_box(const std::string& text, const std::string& title) override;
  std::string input_box(const std::string& prompt, const std::string& title) override;
  std::string file_box(const std::string& title, bool saving) override;

 private:
  void show(std::string_view title, std::string_view text);
  std::string ask(std::string_view title, std::string_view prompt);

  std::istream& input_;
  bool is_terminal_;
  std::ostream& error_;
  std::optional<bool> answer_;
};

}  // namespace tidewright
