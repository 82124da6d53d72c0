// What only a real POSIX machine has: the rights of its files, its links, its descriptors, its desktop.
#include "platform/posix/posix_host.h"

#include <chrono>
#include <cstdlib>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "tests/platform/hosts.h"

namespace tidewright {

std::unique_ptr<Files> real_files() {
  return std::make_unique<PosixFiles>();
}

PathStyle real_style() {
  return PathStyle::posix;
}

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

/// An environment variable, given back its value at the end.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    ::setenv(name, value.c_str(), 1);
  }
  ~Environment() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> before_;
};

TEST(PosixFiles, MapsWhatTheSystemRefuses) {
  TemporaryFolder folder;
  PosixFiles files;
  // Opening a pipe would wait for somebody at its other end, and a device has no end.
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  for (const char* const name : {"pipe", "/dev/full", "/dev/zero"}) {
    EXPECT_EQ(error_of([&] { files.open(name, Access::read); }, name), 75);
    EXPECT_EQ(error_of([&] { files.open(name, Access::update); }, name), 75);
  }
  files.remove_file("pipe");

  put(files, "locked", "x");
  ASSERT_EQ(::chmod("locked", 0444), 0);
  EXPECT_EQ(files.find("locked")->attributes, kReadOnly);
  ASSERT_EQ(::chmod(".", 0555), 0);
  const uid_t user = ::geteuid();
  ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0) << "root is hindered by no mode bits";
  EXPECT_EQ(error_of([&] { files.open("locked", Access::update); }, "locked"), 70);
  EXPECT_EQ(error_of([&] { files.remove_file("locked"); }, "locked"), 70);
  EXPECT_EQ(error_of([&] { files.make_folder("new"); }, "new"), 70);
  ASSERT_EQ(::seteuid(user), 0);
  ASSERT_EQ(::chmod(".", 0755), 0);

  ASSERT_EQ(::symlink("nowhere", "dangling"), 0);
  EXPECT_FALSE(files.find("dangling"));
  EXPECT_EQ(names(files.list("*", kEveryAttribute)), "locked");
}

TEST(PosixFiles, GivesBackEveryDescriptor) {
  TemporaryFolder folder;
  PosixFiles files;
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = descriptors();
  put(files, "a", "x");
  files.list("*", kEveryAttribute);
  EXPECT_EQ(error_of([&] { files.open(".", Access::read); }), 75);
  {
    const std::unique_ptr<File> file = files.open("a", Access::read);
    EXPECT_EQ(descriptors(), before + 1);
    file->close();
    const std::unique_ptr<File> next = files.open("a", Access::read);  // has the descriptor that `file` had
    file->close();
    EXPECT_EQ(read_all(*next), "x");
  }
  EXPECT_EQ(descriptors(), before);
}

TEST(PosixProgram, StandsWhereItWasStartedFrom) {
  PosixProgram program("elsewhere/other");
  const fs::path self = fs::read_symlink("/proc/self/exe");
  EXPECT_EQ(program.folder(), self.parent_path());
  EXPECT_EQ(program.name(), self.stem());
}

TEST(PosixClock, TellsLocalTime) {
  const Environment zone("TZ", "XYZ-5:30");
  ::tzset();
  const std::time_t before = std::time(nullptr);
  std::tm now = PosixClock().now();
  const std::time_t shown = ::timegm(&now) - 19800;
  EXPECT_GE(shown, before);
  EXPECT_LE(shown, before + 2);
}

TEST(PosixDesktop, StartsDetachedAndOnlyOnADesktop) {
  TemporaryFolder folder;
  PosixFiles files;
  PosixDesktop desktop;
  put(files, "xdg-open",
      "#!/bin/sh\nstreams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
      "printf '%s\\n%s' \"$streams\" \"$*\" > part\nmv part opened\nsleep 2\n");
  ASSERT_EQ(::chmod("xdg-open", 0755), 0);
  const Environment path("PATH", folder.path() + ":" + std::getenv("PATH"));
  const Environment no_wayland("WAYLAND_DISPLAY", "");
  {
    const Environment no_display("DISPLAY", "");
    desktop.start_program("touch started");
  }
  const Environment display("DISPLAY", ":0");
  const auto begin = std::chrono::steady_clock::now();
  desktop.open_document("-my file.txt");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(1500)) << "must not be waited for";
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "must leave no child";
  for (int tries = 0; tries < 500 && !files.find("opened"); ++tries) std::this_thread::sleep_for(milliseconds(10));
  EXPECT_EQ(content(files, "opened"), "/dev/null\n/dev/null\n/dev/null\n./-my file.txt");
  EXPECT_FALSE(files.find("started"));
  desktop.start_program("touch started && exit 3");
  for (int tries = 0; tries < 500 && !files.find("started"); ++tries) std::this_thread::sleep_for(milliseconds(10));
  EXPECT_TRUE(files.find("started"));
}

}  // namespace
}  // namespace tidewright
