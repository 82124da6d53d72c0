// The console as the rest of the program sees it. The shell implements it: a terminal, a window.
#pragma once

#include <string>
#include <string_view>

namespace tidewright {

class FileHandle;

/// The console window. Its text is a rolling view of the session; the session log keeps everything.
class Instant {
 public:
  virtual ~Instant() = default;

  /// Appends a line break (CR LF) and `text` to the console text and shows it.
  virtual void add(std::string_view text) = 0;

  /// A hidden console is given nothing to add.
  virtual bool Visible() const = 0;
  virtual void Visible(bool visible) = 0;

  /// The console text. Writing an empty text clears the console.
  virtual const std::string& text() const = 0;
  virtual void text(std::string text) = 0;

  /// Shows everything that was added so far.
  virtual void flush() = 0;

  /// Asked before each line that runs: false when the session is to end. A window lets the person at it have a say.
  virtual bool go_on() { return true; }

  /// Told behind every few hundred messages, hidden or not, so that long work can show how far it is: see
  /// FileHandle::standing().
  virtual void working(FileHandle& /*files*/) {}
};

}  // namespace tidewright
