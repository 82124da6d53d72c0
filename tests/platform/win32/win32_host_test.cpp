// What only a real Windows machine has: attributes, drives, files that others hold, its desktop and its boxes.
#include "platform/win32/win32_host.h"

#include <chrono>
#include <thread>
#include <windows.h>

#include "platform/win32/win32_user.h"
#include "tests/platform/hosts.h"

namespace tidewright {

std::unique_ptr<Files> real_files() {
  return std::make_unique<Win32Files>();
}

PathStyle real_style() {
  return PathStyle::windows;
}

namespace {

using std::chrono::milliseconds;

bool comes_true(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 1000 && !condition(); ++tries) std::this_thread::sleep_for(milliseconds(10));
  return condition();
}

TEST(Win32Files, GoByTheAttributes) {
  TemporaryFolder folder;
  Win32Files files;
  put(files, "locked", "x");
  put(files, "hidden", "a long text");
  put(files, "new", "");
  ASSERT_TRUE(::SetFileAttributesA("locked", FILE_ATTRIBUTE_READONLY));
  ASSERT_TRUE(::SetFileAttributesA("hidden", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
  EXPECT_EQ(files.find("locked")->attributes, kReadOnly);
  EXPECT_EQ(files.find("hidden")->attributes, kHidden | kSystem);
  EXPECT_EQ(names(files.list("*", kNormal)), "locked new");
  EXPECT_EQ(names(files.list("*", kHidden)), "locked new") << "each of the attributes must be asked for";
  EXPECT_EQ(names(files.list("*", kHidden | kSystem)), "hidden locked new");
  EXPECT_EQ(error_of([&] { files.open("locked", Access::update); }, "locked"), 70);
  EXPECT_EQ(error_of([&] { files.remove_file("locked"); }, "locked"), 70);
  EXPECT_EQ(error_of([&] { files.replace_file("new", "locked"); }, "locked"), 70);
  put(files, "hidden", "short");
  EXPECT_EQ(content(files, "hidden"), "short") << "a hidden file can be made anew like others";
  ASSERT_TRUE(::SetFileAttributesA("locked", FILE_ATTRIBUTE_NORMAL));
}

TEST(Win32Files, KnowWhatOthersHold) {
  TemporaryFolder folder;
  Win32Files files;
  put(files, "held", "x");
  put(files, "new", "y");
  const HANDLE held = ::CreateFileA("held", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(error_of([&] { content(files, "held"); }, "held"), 70);
  EXPECT_EQ(error_of([&] { files.replace_file("new", "held"); }, "held"), 70);
  std::thread other([held] {
    std::this_thread::sleep_for(milliseconds(60));
    ::CloseHandle(held);
  });
  EXPECT_EQ(error_of([&] { files.replace_file("new", "held"); }), kNoError);
  other.join();
  EXPECT_EQ(content(files, "held"), "y") << "a file that is let go in a moment is waited for";
}

TEST(Win32Files, GiveBackEveryHandle) {
  TemporaryFolder folder;
  Win32Files files;
  files.make_folder("sub");
  put(files, "sub/a", "x");
  EXPECT_EQ(files.list("sub/*", kEveryAttribute).size(), 1U);
  EXPECT_TRUE(files.find("sub"));
  EXPECT_TRUE(files.find("sub/a"));
  EXPECT_EQ(files.whole_path("sub/a"), folder.path() + "\\sub\\a");
  EXPECT_EQ(error_of([&] { files.open("sub", Access::read); }), 75);
  EXPECT_EQ(error_of([&] { files.open("NUL", Access::update); }), 75) << "a device";
  const std::unique_ptr<File> file = files.open("sub/a", Access::read);
  EXPECT_EQ(error_of([&] { files.remove_file("sub/a"); }), 70);
  file->close();
  files.remove_file("sub/a");
  files.remove_folder("sub");
  EXPECT_FALSE(files.find("sub"));
}

TEST(Win32Files, HavePlaceForMoreThanFourGigabytes) {
  TemporaryFolder folder;
  Win32Files files;
  constexpr std::int64_t kFar = (std::int64_t{5} << 30) + 3;
  const std::unique_ptr<File> file = files.open("large", Access::create);
  file->seek(kFar);
  if (error_of([&] { write_all(*file, "end"); }) == 61) GTEST_SKIP() << "no room";
  EXPECT_EQ(file->length(), kFar + 3);
  file->seek(kFar);
  EXPECT_EQ(read_all(*file), "end");
}

TEST(Win32Files, KeepAFolderForEachDrive) {
  TemporaryFolder folder;
  Win32Files files;
  const std::string start = files.current_folder();
  char other = 'A';
  const auto is_other = [&] {
    const std::string root{other, ':', '\\'};
    return other != start[0] && ::GetDriveTypeA(root.c_str()) == DRIVE_FIXED &&
           !files.list(root + "*", kDirectory).empty();
  };
  while (other <= 'Z' && !is_other()) ++other;
  if (other > 'Z') GTEST_SKIP() << "one drive only";
  const std::string drive{other, ':'};
  const std::string root = drive + "\\";
  std::string sub;
  for (const Entry& entry : files.list(root + "*", kDirectory)) {
    if (entry.attributes == kDirectory && entry.name.find(' ') == std::string::npos) sub = root + entry.name;
  }
  ASSERT_NE(sub, "");
  files.change_folder(sub);
  EXPECT_EQ(files.current_folder(), start) << "another drive's folder changes, not the drive";
  EXPECT_EQ(files.whole_path(drive + "."), files.whole_path(sub));
  files.change_drive(lower(other));
  EXPECT_EQ(lowered(files.current_folder()), lowered(sub));
  EXPECT_EQ(error_of([&] { files.change_folder(start + "\\none"); }), 76);
  put(files, std::string{start[0], ':'} + "x", "of the folder left behind");
  files.change_drive(start[0]);
  EXPECT_EQ(files.current_folder(), start);
  EXPECT_EQ(content(files, "x"), "of the folder left behind");
  EXPECT_EQ(files.find(root)->name, root);
  EXPECT_EQ(error_of([&] { files.change_drive('1'); }), 68);
}

TEST(Win32Program, StandsWhereItWasStartedFrom) {
  Win32Program program;
  EXPECT_EQ(program.name(), "unit_tests");
  EXPECT_TRUE(Win32Files().find(program.folder() + "\\unit_tests.exe"));
}

TEST(Win32Clock, TellsLocalTime) {
  SYSTEMTIME before{};
  ::GetLocalTime(&before);
  const std::tm now = Win32Clock().now();
  SYSTEMTIME after{};
  ::GetLocalTime(&after);
  const auto seconds = [](int day, int hour, int minute, int second) {
    return ((day * 24 + hour) * 60 + minute) * 60 + second;
  };
  const int shown = seconds(now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
  EXPECT_GE(shown + 1, seconds(before.wDay, before.wHour, before.wMinute, before.wSecond));
  EXPECT_LE(shown, seconds(after.wDay, after.wHour, after.wMinute, after.wSecond));
  EXPECT_EQ(now.tm_wday, before.wDayOfWeek);
}

TEST(Win32Desktop, StartsWithoutWaiting) {
  TemporaryFolder folder;
  Win32Files files;
  Win32Desktop desktop;
  const auto begin = std::chrono::steady_clock::now();
  desktop.start_program("cmd.exe /c ping -n 3 127.0.0.1 >nul & echo x>started");
  desktop.start_program("there is no such program");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(1500)) << "must not be waited for";
  put(files, "my document.bat", "@echo y>opened\r\n");
  desktop.open_document("my document.bat");
  EXPECT_TRUE(comes_true([&] { return files.find("started") && files.find("opened"); }));
  // The command interpreters stand in the folder until they end.
  EXPECT_TRUE(comes_true([&] { return content(files, "started") + content(files, "opened") == "x\r\ny\r\n"; }));
  std::this_thread::sleep_for(milliseconds(300));
}

/// Presses a button of the box with this title, once it is there, after typing into its one field; tells its text.
std::string answer(const std::string& title, int button, const char* typed = nullptr) {
  HWND box = nullptr;
  if (!comes_true(
          [&] { return (box = ::FindWindowA("#32770", title.c_str())) != nullptr && ::IsWindowVisible(box); })) {
    return "no box";
  }
  std::string text;
  for (HWND part = ::GetWindow(box, GW_CHILD); part != nullptr; part = ::GetWindow(part, GW_HWNDNEXT)) {
    char kind[40] = "";
    ::GetClassNameA(part, kind, sizeof kind);
    if (same_text(kind, "Edit") && typed != nullptr)
      ::SendMessageA(part, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(typed));
    if (!same_text(kind, "Static")) continue;
    char words[400] = "";
    ::SendMessageA(part, WM_GETTEXT, sizeof words, reinterpret_cast<LPARAM>(words));
    text += words;
  }
  ::PostMessageA(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
  return text;
}

TEST(Win32User, AsksAndIsAnswered) {
  const HWND window = ::CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
  if (window == nullptr) GTEST_SKIP() << "no screen";
  ::DestroyWindow(window);
  Win32User user;
  std::string result;
  struct Case {
    std::string what;
    std::function<void()> box;
    std::string title;
    int button;
    const char* typed;
    std::string text, result;
  };
  const auto input = [&] { result = user.input_box("Enter offset for shop & co:", "Insufficient Data"); };
  const auto yes_no = [&] { result = user.yes_no_box("File Exists. Delete?", "Delete File") ? "yes" : "no"; };
  for (const Case& c : std::initializer_list<Case>{
           {"critical", [&] { user.critical_box(std::string("a\0b", 3)); }, "CRITICAL ERROR", IDOK, nullptr, "a b", ""},
           {"notice", [&] { user.notice_box("text"); }, "Notice:", IDOK, nullptr, "text", ""},
           {"message", [&] { user.message_box("text"); }, "Tidewright", IDOK, nullptr, "text", ""},
           {"yes", yes_no, "Delete File", IDYES, nullptr, "File Exists. Delete?", "yes"},
           {"no", yes_no, "Delete File", IDNO, nullptr, "File Exists. Delete?", "no"},
           {"typed", input, "Insufficient Data", IDOK, "0x1000 \xE4", "Enter offset for shop & co:", "0x1000 \xE4"},
           {"cancelled", input, "Insufficient Data", IDCANCEL, "typed", "Enter offset for shop & co:", ""},
       }) {
    SCOPED_TRACE(c.what);
    result.clear();
    std::string text;
    std::thread person([&] { text = answer(c.title, c.button, c.typed); });
    c.box();
    person.join();
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(result, c.result);
  }
}

}  // namespace
}  // namespace tidewright
