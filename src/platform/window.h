// The console window as the program sees it: a frame with menus around one text box. Like host.h for the machine, it is
// all that is known of it outside platform/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tidewright {

enum class MenuItem { database, decode, encode, source, exit, select_all, help };

/// What a person, or another start of the program, does with the window. Called on the one thread, from run(),
/// process_waiting() and while a box is open.
class WindowEvents {
 public:
  virtual ~WindowEvents() = default;
  /// Enter was pressed in the box; a line break is put in behind the caret afterwards.
  virtual void enter() = 0;
  virtual void chosen(MenuItem item) = 0;
  /// Another start of the program hands over its command line.
  virtual void handed_over(std::string line) = 0;
  /// The window is to be closed: whether it may be now.
  virtual bool closing() = 0;
};

class Window {
 public:
  virtual ~Window() = default;

  /// The text of the box; writing it puts the caret at the end. Bytes that a box cannot show are shown as others.
  virtual std::string text() = 0;
  virtual void text(std::string_view text) = 0;
  /// The caret's 0-based place in the text.
  virtual std::size_t caret() = 0;
  virtual void caret_to_end() = 0;

  /// What stands behind the window's name in its caption; empty for nothing.
  virtual void note(std::string_view text) = 0;

  virtual bool visible() const = 0;
  virtual void visible(bool visible) = 0;

  /// Handles what waits, but for the keyboard: keys pressed while lines run come after them.
  virtual void process_waiting() = 0;

  /// Who is told of events.
  virtual void listen(WindowEvents& events) = 0;

  /// Handles everything until end() is called.
  virtual void run() = 0;
  virtual void end() = 0;

  /// A clock that only runs on.
  virtual std::int64_t milliseconds() = 0;
};

}  // namespace tidewright
