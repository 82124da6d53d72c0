// The terminal program: its start, its console, its end.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/errors.h"
#include "base/text.h"
#include "base/version.h"
#include "files/names.h"
#include "platform/native.h"
#include "processor/shared.h"
#include "shell/options.h"
#include "shell/terminal.h"

namespace tidewright {
namespace {

constexpr int kFine = 0;
constexpr int kTroubled = 1;
constexpr int kWrongUsage = 2;

constexpr std::string_view kBanner =
    "WELCOME TO TIDEWRIGHT\r\nMade by the Tidewright authors.\r\nLines run as you type them; #exit ends.";

// Reads a line without its end; false at the end of the input. Of one that is too long only so much that this shows.
bool read_line(std::streambuf& input, std::string& line) {
  constexpr int kEnd = std::char_traits<char>::eof();
  constexpr std::size_t kMost = DataFile::kLongestLine + 5;  // of these, a byte order mark and a carriage return go
  line.clear();
  int c = input.sbumpc();
  if (c == kEnd) return false;
  for (; c != kEnd && c != '\n' && line.size() < kMost; c = input.sbumpc()) line += static_cast<char>(c);
  return true;
}

// Runs the lines of standard input to its end, or to a line that is too long, whose rest must not be run. Output is
// brought up to date whenever the next line has to be waited for.
void run_console(Shared& shared, bool is_terminal) {
  std::string line;
  bool first = true;
  while (line.size() <= DataFile::kLongestLine) {
    if (is_terminal || std::cin.rdbuf()->in_avail() <= 0) shared.file_handle.flush_output();
    if (is_terminal) std::cerr << "> " << std::flush;
    if (!read_line(*std::cin.rdbuf(), line)) break;
    if (first && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    first = false;
    if (line.ends_with('\r')) line.pop_back();
    shared.control.pending(line);
  }
  if (is_terminal) std::cerr << std::endl;
}

void run_session(Shared& shared, const Options& options) {
  const bool is_terminal = NativeMachine::is_terminal(Stream::input);
  const bool is_console = options.interactive || options.line.empty();
  if (is_console && is_terminal && shared.instant.Visible()) shared.instant.add(kBanner);
  try {
    for (const std::string& file : options.runs) shared.control.run_file(file);
    if (!options.line.empty()) shared.control.pending(options.line);
    if (is_console) run_console(shared, is_terminal);
  } catch (const ExitProgram&) {
    // "#exit": the session ends with the status so far.
  }
}

/// Makes the folder and those above it, as far as they are missing. Where that fails, opening the log tells why.
void make_folders(Files& files, const std::string& folder) {
  try {
    if (files.find(folder)) return;
    const std::string above = folder_of(folder);
    if (!above.empty() && above != folder) make_folders(files, above);
    files.make_folder(folder);
  } catch (const RuntimeError&) {
  }
}

/// The objects of a session whose log is in `folder`; nothing when the log cannot be opened there, with the reason put
/// behind `reasons`.
std::unique_ptr<Shared> logged_in(const std::string& folder, const Host& host, Instant& console, std::string& reasons) {
  try {
    return std::make_unique<Shared>(host, console, folder);
  } catch (const RuntimeError& error) {
    reasons += cat({reasons.empty() ? "in " : ", nor in ", folder, ": ", error.description});
    return nullptr;
  }
}

/// The log goes where it was told to go; else beside the program or, where that cannot be written, into the user's
/// state folder.
std::unique_ptr<Shared> open_session(const Options& options, const Host& host, Instant& console) {
  std::string reasons;
  const std::string first = options.log_folder.value_or(joined(host.files, host.program.folder(), "log"));
  std::unique_ptr<Shared> shared = logged_in(first, host, console, reasons);
  const std::string state = options.log_folder ? "" : host.program.state_folder();
  if (shared == nullptr && !state.empty()) {
    make_folders(host.files, state);
    shared = logged_in(joined(host.files, state, "log"), host, console, reasons);
  }
  if (shared == nullptr) host.user.critical_box("The session log cannot be opened " + reasons);
  return shared;
}

int run(const char* command, const Options& options) {
  NativeMachine machine(command);
  StatusLine status(std::cerr, NativeMachine::is_terminal(Stream::error));
  TerminalConsole console(std::cout, NativeMachine::is_terminal(Stream::output), status);
  console.Visible(!options.quiet);
  TerminalUser user(std::cin, NativeMachine::is_terminal(Stream::input), std::cerr, options.answer);
  const Host host = machine.host(user);
  const std::unique_ptr<Shared> shared = open_session(options, host, console);
  if (shared == nullptr) return kTroubled;
  run_session(*shared, options);
  shared->file_handle.close_all();
  shared->file_handle.flush_output();
  return shared->file_handle.troubled() ? kTroubled : kFine;
}

}  // namespace
}  // namespace tidewright

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  std::cin.tie(nullptr);
  const tidewright::Options options = tidewright::read_options(std::vector<std::string>(argv + 1, argv + argc));
  if (!options.wrong.empty()) {
    std::cerr << "tidewright: " << options.wrong << "\nTry tidewright --help.\n";
    return tidewright::kWrongUsage;
  }
  if (options.help) {
    std::cout << tidewright::usage();
    return tidewright::kFine;
  }
  if (options.version) {
    std::cout << "tidewright " << tidewright::kVersion << '\n';
    return tidewright::kFine;
  }
  return tidewright::run(argv[0], options);
}
