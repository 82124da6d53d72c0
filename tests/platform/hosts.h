// The machines that the tests of this folder ask, and what they ask them with.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/errors.h"
#include "base/text.h"
#include "platform/memory/memory_host.h"

namespace tidewright {

/// The machine that the tests really run on, and the rules of its paths. Each platform's folder has its own.
std::unique_ptr<Files> real_files();
PathStyle real_style();

inline constexpr int kNoError = 0;

/// The number of the error that `action` raises. Its description must hold `mention`.
inline int error_of(const std::function<void()>& action, const std::string& mention = "") {
  try {
    action();
  } catch (const RuntimeError& error) {
    EXPECT_NE(error.description.find(mention), std::string::npos) << error.description;
    return static_cast<int>(error.number);
  }
  return kNoError;
}

inline std::string read_all(File& file) {
  std::string bytes;
  char block[3];
  while (const std::size_t count = file.read(block, sizeof block)) bytes.append(block, count);
  return bytes;
}

inline std::string content(Files& files, const std::string& path) {
  return read_all(*files.open(path, Access::read));
}

inline void write_all(File& file, std::string_view bytes) {
  while (!bytes.empty()) bytes.remove_prefix(file.write(bytes));
}

inline void put(Files& files, const std::string& path, std::string_view bytes) {
  write_all(*files.open(path, Access::create), bytes);
}

inline std::string names(const std::vector<Entry>& entries) {
  std::string text;
  for (const Entry& entry : entries) text += (text.empty() ? "" : " ") + entry.name;
  return text;
}

/// A fresh folder of the real machine, the current one for as long as this stands.
class TemporaryFolder {
 public:
  TemporaryFolder() : before_(std::filesystem::current_path()) {
    const std::filesystem::path parent = std::filesystem::temp_directory_path();
    for (int number = 0; !std::filesystem::create_directory(path_ = parent / cat({"hosts_", number})); ++number) {
    }
    path_ = std::filesystem::canonical(path_);
    std::filesystem::current_path(path_);
  }
  ~TemporaryFolder() {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

enum class Kind { real, posix, windows };

/// The kinds of machine whose paths follow these rules.
inline std::vector<Kind> kinds_of(PathStyle style) {
  std::vector<Kind> kinds{style == PathStyle::windows ? Kind::windows : Kind::posix};
  if (real_style() == style) kinds.push_back(Kind::real);
  return kinds;
}

class EveryMachine : public testing::TestWithParam<Kind> {
 protected:
  bool windows() const {
    return GetParam() == Kind::real ? real_style() == PathStyle::windows : GetParam() == Kind::windows;
  }
  Files& files() { return GetParam() == Kind::real ? *real_ : memory_.host().files; }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<Files> real_ = real_files();
  MemoryMachine memory_{windows() ? MemoryMachine::Style::windows : MemoryMachine::Style::posix};
};

}  // namespace tidewright
