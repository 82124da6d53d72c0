#include "processor/control.h"

#include <new>
#include <stdexcept>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "processor/shared.h"

namespace tidewright {
namespace {

// Markers of lines that are comment as a whole, or text.
constexpr std::string_view kWholeLineMarkers = "/='!";

// A statement in a message: as it was typed, long ones cut.
std::string shown(std::string_view statement) {
  const bool rewritten = statement.starts_with("&h");  // the cut into statements makes this of "#"
  return cat({rewritten ? "#" : "", statement.substr(rewritten ? 2 : 0, 200)});
}

}  // namespace

Control::Control(Shared& shared) : shared_(shared), encoder_(shared.cmd_list) {
  shared_.bank.autobank = true;
}

void Control::pending(std::string line) {
  guarded([&] {
    DataFile::refuse_too_long(line);
    KaCode(line);
  });
}

std::string Control::clear_pendng() {
  pending_text_.clear();
  return "";
}

void Control::run_file(std::string name) {
  guarded([&] { open_and_run(std::move(name)); });
}

void Control::guarded(const std::function<void()>& work) {
  if (guarded_) return work();
  if (shared_.file_handle.level() == FileHandle::kLogFile) keep_counting();
  guarded_ = true;
  failed_statement_.clear();
  try {
    work();
  } catch (const RuntimeError& error) {
    report(error.description, static_cast<int>(error.number));
  } catch (const std::bad_alloc&) {
    report(error_name(ErrorNumber::out_of_memory), static_cast<int>(ErrorNumber::out_of_memory));
  } catch (const std::length_error&) {
    report(error_name(ErrorNumber::out_of_memory), static_cast<int>(ErrorNumber::out_of_memory));
  }
  guarded_ = false;
}

// Tells of an error that ended the outermost line, and makes the session ready for the next one.
void Control::report(std::string_view description, int number) {
  FileHandle& files = shared_.file_handle;
  std::string text = files.location();
  if (!text.empty()) text += ": ";
  text += cat({"error ", number, ": ", description});
  if (!failed_statement_.empty()) text += cat({", in \"", failed_statement_, "\""});
  files.critical_box(text);
  files.echo(text);
  files.close_all();
  running_ = false;
  definition_.clear();
  shared_.cmd_list.newcmd() = tCmd();
  shared_.file_buffer.forget_waiting_label();
}

void Control::KaCode(std::string& line) {
  // A line that runs inside of this one finds none to use again, and makes its own.
  std::unique_ptr<SmartString> lent = std::move(spare_statement_);
  if (lent == nullptr) lent = std::make_unique<SmartString>();
  SmartString& statement = *lent;
  statement.clear();
  std::string piece;  // the statement that runs, where the line has several
  try {
    if (!block_comment_) cut(line, statement);
    const int last = statement.last();
    for (int i = 0; i <= last; ++i) {
      if (last > 0) piece = i == 0 ? statement.vDirective() + statement.values(0) : statement.values(i);
      if (i > 0) {
        std::string text = piece;
        statement.kaTrim(text);
      }
      if (block_comment_) {
        skip_in_block(line);
      } else if (i == 0 || !piece.empty()) {
        run_statement(statement, line, piece.empty() ? line : piece);
      }
    }
    advance_lineno();
  } catch (const RuntimeError&) {
    if (failed_statement_.empty()) failed_statement_ = shown(piece.empty() ? line : piece);
    throw;
  }
  spare_statement_ = std::move(lent);
  shared_.file_buffer.inbuffer(shared_.file_buffer.default_buffer);
}

// Cuts a line into its statements: values(0) to values(last()), the first of them classified.
void Control::cut(const std::string& line, SmartString& statement) {
  statement.cut(line);
  // A text behind a code line is one more statement. A line that is comment as a whole holds none.
  const bool whole =
      !statement.vDirective().empty() && kWholeLineMarkers.find(statement.vDirective()) != std::string_view::npos;
  const bool has_text = !whole && statement.vComment().starts_with('=');
  constexpr int kLast = SmartString::kSlots - 1;
  if (statement.last() == kLast) {
    const std::string rest = statement.values(kLast);  // all that was left of the line
    const std::size_t end = rest.find_last_not_of("; ");
    if (has_text || rest.find(';') < end) {
      raise(ErrorNumber::subscript_out_of_range, "a line holds at most sixteen statements");
    }
    statement.values(kLast, rest.substr(0, end + 1));
  }
  if (!has_text) return;
  statement.count(cat({statement.last() + 1}));
  statement.values(statement.last(), statement.vComment());
}

void Control::skip_in_block(const std::string& line) {
  if (line.ends_with('/')) {
    block_comment_ = false;
  } else if (fulllog_) {
    shared_.file_handle.echo({"'", line});
  }
}

void Control::run_statement(SmartString& statement, std::string& line, const std::string& text) {
  const char marker = statement.vDirective().empty() ? '\0' : statement.vDirective()[0];
  const std::string& value = statement.values(0);
  switch (marker) {
    case '/':
      return comment_block(statement, line);
    case '\'':
      return comment(statement);
    case '=':
      return text_line(statement.vComment());
    case '$':
      return ProcessDirective("inline $" + value, statement.vComment());
    case '#':
      return ProcessDirective(value, statement.vComment());
    case '!':
      return;
    default:
      break;
  }
  if (lock_) return ProcessDirective(value, statement.vComment());
  if (!value.empty()) code_line(value, text);
}

void Control::comment_block(const SmartString& statement, std::string& line) {
  FileHandle& files = shared_.file_handle;
  if (!statement.vComment().starts_with('/')) {
    block_comment_ = true;
    advance_lineno();
    if (fulllog_) files.echo({"/", line});
    return;
  }
  block_comment_ = false;
  line = statement.vComment().substr(1);
  FileBuffer& buffers = shared_.file_buffer;
  buffers.buffer(FileBuffer::kTextBuffer, cat({buffers.bytes(FileBuffer::kTextBuffer), line, kLineEnd}));
  files.echo(line);
}

void Control::comment(const SmartString& statement) {
  if (f_echo_) {
    const std::string& value = statement.values(0);
    if (value.size() == 1) raise(ErrorNumber::invalid_call, "a comment of one character");
    shared_.file_handle.echo(value.empty() ? " " : std::string_view(value).substr(2));
  }
  // A comment counts here and once more at the end of its line. Kept: logs are compared across versions.
  advance_lineno();
}

void Control::text_line(const std::string& text) {
  FileHandle& files = shared_.file_handle;
  FileBuffer& buffers = shared_.file_buffer;
  const std::string bytes = shared_.text_table.text_to_bytes(text);
  buffers.inbuffer(buffers.default_buffer);
  files.echo({files.lineno(), ": Encoding text: ", text});
  if (fulllog_) {
    files.echo({"CODE: ", bytes});
    files.echo({"- Into buffer ", buffers.inbuffer()});
  }
  write(bytes, {}, kTextMode);
}

void Control::code_line(const std::string& code, const std::string& text) {
  FileHandle& files = shared_.file_handle;
  FileBuffer& buffers = shared_.file_buffer;
  const DefineTable& defines = shared_.define_table;
  const bool encoded =
      defines.empty() ? encoder_.encode(code, files.lineno()) : encoder_.encode(defines.replace(code), files.lineno());
  if (!encoded) {
    const std::string place = files.location();
    files.echo({" - ", place.empty() ? "console" : place, ": ", encoder_.fault(), ", in \"", shown(text), "\""});
    return;
  }
  if (fulllog_) files.echo({"attached: \"", encoder_.bytes(), "\" into ", buffers.default_buffer});
  write(encoder_.bytes(), encoder_.pointers(), kCodeMode);
}

// Appends to the default buffer, which add_Data leaves again.
void Control::write(std::string_view bytes, std::span<const CodedPointer> pointers, std::int16_t mode) {
  FileBuffer& buffers = shared_.file_buffer;
  buffers.inbuffer(buffers.default_buffer);
  buffers.inmode(mode);
  buffers.add_Data(bytes, pointers);
}

void Control::advance_lineno() {
  FileHandle& files = shared_.file_handle;
  files.lineno(checked_add(files.lineno(), 1));
}

// Starts the 16-bit counter anew in time: a session, and a script, may have any number of lines.
void Control::keep_counting() {
  constexpr std::int16_t kLast = 32000;
  if (shared_.file_handle.lineno() > kLast) shared_.file_handle.lineno(0);
}

// Feeds the lines of the current file to KaCode, and those of every file that they open. Started anew inside a running
// file it returns to that file; otherwise it ends with the last open file.
void Control::run_files() {
  FileHandle& files = shared_.file_handle;
  const bool nested = running_;
  const int outer = nested ? files.level() - 1 : FileHandle::kLogFile;
  running_ = true;
  std::string line;
  while (files.level() > outer) {
    if (files.ENDOF()) {
      if (block_comment_) files.echo({" - A comment block is still open at the end of ", files.location()});
      files.closefile();
      continue;
    }
    if (!shared_.instant.go_on()) throw ExitProgram{};
    keep_counting();
    files.getline(line);
    if (!line.empty()) KaCode(line);
  }
  running_ = nested;
  if (!pending_text_.empty()) pending(pending_text_);
}

}  // namespace tidewright
