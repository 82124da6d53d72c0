#include "shell/instant_window.h"

#include <gtest/gtest.h>
#include <vector>

#include "processor/control.h"
#include "tests/session.h"

namespace tidewright {
namespace {

/// A window that nobody sees: what was done with it, and what happens when it looks for what waits.
class FakeWindow : public Window {
 public:
  std::string text() override { return box; }
  void text(std::string_view text) override {
    box = text;
    place = box.size();
    ++paintings;
    now += cost;
  }
  std::size_t caret() override { return place; }
  void caret_to_end() override { place = box.size(); }
  void note(std::string_view text) override { notes.emplace_back(text); }
  bool visible() const override { return true; }
  void visible(bool /*visible*/) override {}
  void process_waiting() override {
    if (while_waiting) while_waiting();
  }
  void listen(WindowEvents& /*events*/) override {}
  void run() override {}
  void end() override { ended = true; }
  std::int64_t milliseconds() override { return now; }

  std::string box;
  std::size_t place = 0;
  int paintings = 0;
  std::vector<std::string> notes;
  std::int64_t now = 0;
  std::int64_t cost = 0;  // of showing a text, in milliseconds
  bool ended = false;
  std::function<void()> while_waiting;
};

struct InstantWindowTest : testing::Test {
  InstantWindowTest() {
    console.run_line = [this](const std::string& line) {
      lines.push_back(line);
      console.add("did " + line);
      if (work) work();
    };
    console.run_command_line = console.run_line;
  }

  FakeWindow window;
  InstantWindow console{window};
  std::vector<std::string> lines;
  std::function<void()> work;
};

TEST_F(InstantWindowTest, FindsTheLineOfTheCaret) {
  const std::string text = "one\r\n\r\nthree";
  for (const std::size_t caret : std::initializer_list<std::size_t>{0U, 1U, 3U, 5U, 7U, 8U, 12U}) {
    EXPECT_EQ(InstantWindow::line_at(text, caret), caret <= 3 ? "one" : caret == 5 ? "" : "three") << caret;
  }
}

TEST_F(InstantWindowTest, EnterRunsTheLineAndAnEmptyBoxNothing) {
  console.enter();
  EXPECT_TRUE(lines.empty());
  window.text("WELCOME\r\n#whoami");
  console.enter();
  EXPECT_EQ(window.box, "WELCOME\r\n#whoami\r\ndid #whoami");
  EXPECT_EQ(window.place, window.box.size());
  window.place = 3;
  console.enter();
  EXPECT_EQ(lines, (std::vector<std::string>{"#whoami", "WELCOME"}));
}

TEST_F(InstantWindowTest, WhatArrivesWhileLinesRunComesAfterThem) {
  work = [this] {
    if (lines.size() > 1) return;
    window.while_waiting = [this] {
      window.while_waiting = nullptr;
      console.handed_over("second");
    };
    window.now += InstantWindow::kMillisecondsBetween;
    EXPECT_TRUE(console.go_on());
    console.add("end of the first");
  };
  console.handed_over("first");
  EXPECT_EQ(window.box, "\r\ndid first\r\nend of the first\r\ndid second");
}

TEST_F(InstantWindowTest, PaintsNowAndThenWhileLinesRun) {
  work = [this] {
    for (int i = 0; i < 310; ++i) {
      ++window.now;
      console.add("line");
      EXPECT_TRUE(console.go_on());
    }
  };
  console.handed_over("long");
  EXPECT_EQ(window.paintings, 1 + 10 + 1) << "the first line, ten times 30 milliseconds, the end";
  window.paintings = 0;
  window.cost = 10;
  console.handed_over("slow to show");
  EXPECT_EQ(window.paintings, 3 + 1) << "every 100 milliseconds";
}

TEST_F(InstantWindowTest, NotesInItsCaptionHowFarLongWorkIs) {
  Session session;
  session.machine.add_file("/desk/long.psc", "one\ntwo\n");
  FileHandle& files = session.shared->file_handle;
  std::string name = "long.psc";
  std::string mode = "input";
  files.OpenFile(name, mode);
  files.getdata("line");
  work = [&] {
    for (int i = 0; i < 12; ++i) {
      window.now += InstantWindow::kLongWork / 10;
      console.working(files);
    }
  };
  console.handed_over("long");
  ASSERT_EQ(window.notes.size(), 2U);
  EXPECT_TRUE(window.notes[0].starts_with("long.psc:1, 1 of 1 KB, ")) << window.notes[0];
  EXPECT_EQ(window.notes[1], "");
}

TEST_F(InstantWindowTest, ClosesAtOnceOrBehindTheLineThatRuns) {
  EXPECT_TRUE(console.closing());
  work = [this] {
    EXPECT_FALSE(console.closing());
    if (!console.go_on()) throw ExitProgram{};
  };
  console.handed_over("long");
  console.handed_over("never");
  EXPECT_TRUE(window.ended);
  EXPECT_EQ(lines, std::vector<std::string>{"long"});
}

}  // namespace
}  // namespace tidewright
