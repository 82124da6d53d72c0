// Runs every golden case: a folder beside this file. Its files stand in the current folder of an in-memory
// machine; then
// "#include main.psc" runs, and what came out must be what the case says.
//
//   main.psc, *.psc, base/includes.psh   the scripts
//   before.hex                           the image game.bin before the run (may be missing)
//   answers.txt                          one line for each input box
//   image.hex                            game.bin after the run
//   console.txt                          the console lines; control characters as \xNN
//   log.txt                              the session log behind its first line, the same way (may be missing)
//   made/NAME                            a file that the run made, the same way; for any NAME
//   boxes.txt                            the boxes shown, "title: text" (may be missing when there are none)
//
// With TIDEWRIGHT_GOLDEN=write in the environment the outcome is written into the folder, to be looked at and
// kept.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "base/numbers.h"
#include "tests/session.h"

namespace tidewright {
namespace {

namespace fs = std::filesystem;

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// Lines "offset: byte byte ...", all hexadecimal; what no line names is zero.
std::string from_hex(const std::string& text) {
  std::string bytes;
  for (const std::string& line : lines_of(text)) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    std::size_t at = std::stoul(word, nullptr, 16);
    while (words >> word) {
      if (bytes.size() <= at) bytes.resize(at + 1);
      bytes[at++] = static_cast<char>(std::stoi(word, nullptr, 16));
    }
  }
  return bytes;
}

std::string to_hex(const std::string& bytes) {
  std::string text;
  const std::string zero(16, '\0');
  for (std::size_t at = 0; at < bytes.size(); at += 16) {
    const std::string row = bytes.substr(at, 16);
    const bool last = at + 16 >= bytes.size();
    if (row == zero && !last) continue;
    text += cat({hex(static_cast<std::int32_t>(at)), ":"});
    for (const char byte : row) text += cat({" ", hex_bytes(std::string_view(&byte, 1))});
    text += '\n';
  }
  return text;
}

std::string readable(const std::string& line) {
  std::string text;
  for (const char c : line) {
    const bool plain = c >= ' ' && c <= '~' && c != '\\';
    text += plain ? std::string(1, c) : "\\x" + hex_bytes(std::string_view(&c, 1));
  }
  return text + "\n";
}

// The lines of a text, which end in CR LF.
std::string readable_lines(const std::string& text) {
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", at), text.size());
    lines += readable(text.substr(at, end - at));
    at = end + 2;
  }
  return lines;
}

void expect_or_write(const fs::path& path, const std::string& outcome, bool wanted) {
  const char* const mode = std::getenv("TIDEWRIGHT_GOLDEN");
  if (mode != nullptr && std::string_view(mode) == "write") {
    if (wanted || !outcome.empty()) std::ofstream(path, std::ios::binary) << outcome;
  } else if (fs::exists(path) || wanted || !outcome.empty()) {
    EXPECT_EQ(read_file(path), outcome) << path;
  }
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, ComesOutAsTheCaseSays) {
  const fs::path folder = fs::path(GOLDEN_CASES) / GetParam();
  Session session;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string extension = entry.path().extension().string();
    if ((extension != ".psc" && extension != ".psh") || entry.path().parent_path() == folder / "made") continue;
    session.machine.add_file("/desk/" + fs::relative(entry.path(), folder).generic_string(), read_file(entry.path()));
  }
  session.machine.add_file("/desk/game.bin", from_hex(read_file(folder / "before.hex")));
  for (const std::string& answer : lines_of(read_file(folder / "answers.txt"))) {
    session.machine.user().input_answers.push_back(answer);
  }

  session.run("#include main.psc");

  std::string console;
  for (const std::string& line : session.console.lines) console += readable(line);
  std::string boxes;
  for (const MemoryBox& box : session.machine.user().boxes) {
    boxes += readable(cat({box.title, box.title.empty() ? "" : ": ", box.text}));
  }
  std::string log = session.log();
  log = readable_lines(log.substr(log.find("\r\n\r\n") + 4));
  expect_or_write(folder / "image.hex", to_hex(session.machine.bytes("/desk/game.bin")), true);
  expect_or_write(folder / "console.txt", console, true);
  expect_or_write(folder / "boxes.txt", boxes, false);
  if (fs::exists(folder / "log.txt")) expect_or_write(folder / "log.txt", log, true);
  if (!fs::exists(folder / "made")) return;
  for (const auto& entry : fs::directory_iterator(folder / "made")) {
    const std::string file = "/desk/" + entry.path().filename().string();
    expect_or_write(entry.path(), session.machine.exists(file) ? readable_lines(session.machine.bytes(file)) : "none",
                    true);
  }
}

std::vector<std::string> cases() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(GOLDEN_CASES)) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  return names;
}

std::string case_name(const testing::TestParamInfo<std::string>& one) {
  return one.param;
}

INSTANTIATE_TEST_SUITE_P(Scripts, Golden, testing::ValuesIn(cases()), case_name);

}  // namespace
}  // namespace tidewright
