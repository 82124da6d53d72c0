// Burns that fail, that are cut short and that are taken back: the image is wholly old or wholly new.
#include <functional>
#include <gtest/gtest.h>

#include "tests/outcome.h"
#include "tests/session.h"

namespace tidewright {
namespace {

constexpr const char* kImage = "/desk/game.bin";
constexpr const char* kUnderWay = "/desk/game.bin.burning";
constexpr const char* kDone = "/desk/game.bin.burn";

class BurnJournalTest : public testing::Test {
 protected:
  /// Starts the program anew on the same machine, with all its files.
  void start() {
    session.machine.break_after({});
    session.shared.reset();
    session.shared = std::make_unique<Shared>(session.machine.host(), session.console, session.log_folder);
  }

  /// Compiles what the burns of these tests burn: chunks that overlap, that stand apart, and beyond the end.
  void compile() {
    for (const char* line :
         {"#org a.0x4 0", "#inline 0x11111111 0x2222", "#org b.0x8 1", "#inline 0x3333", "#org c.0x10 2",
          "#inline 0x44444444 $a.0x4 0x55", "#org d.0x1e 3", "#inline 0x66666666"}) {
      session.run(line);
    }
  }

  std::string image() { return session.machine.bytes(kImage); }
  bool is_there(const char* path) { return session.machine.exists(path); }

  /// What a burn makes of `old`.
  std::string burned(const std::string& old) {
    start();
    session.machine.add_file(kImage, old);
    compile();
    session.run("#kapop game.bin");
    return image();
  }

  Session session;
};

struct Outcomes {
  int old_image = 0, new_image = 0, recovered = 0;
};

TEST_F(BurnJournalTest, IsWholeOrUndoneWhereverItBreaks) {
  struct Case {
    std::size_t length;
    Breakdown then;
    std::optional<std::size_t> most_per_write;
    bool power_fails;
  };
  constexpr std::optional<std::size_t> kAll;
  std::mt19937 chance(5);
  for (const Case& c : std::initializer_list<Case>{{32, Breakdown::passes, kAll, false},
                                                   {64, Breakdown::passes, 3, false},
                                                   {64, Breakdown::lasts, kAll, false},
                                                   {32, Breakdown::lasts, 3, false},
                                                   {64, Breakdown::stops, 3, false},
                                                   {32, Breakdown::stops, kAll, false},
                                                   {32, Breakdown::stops, 3, true},
                                                   {64, Breakdown::stops, kAll, true},
                                                   {64, Breakdown::stops, 3, true}}) {
    const std::string old(c.length, '.');
    const std::string fresh = burned(old);
    ASSERT_NE(fresh, old);
    Outcomes seen;
    bool broke = true;
    for (std::size_t step = 0; broke; ++step) {
      SCOPED_TRACE(testing::Message() << c.length << " bytes, kind " << static_cast<int>(c.then) << ", step " << step);
      start();
      session.machine.add_file(kImage, old);
      compile();
      session.machine.short_writes(c.most_per_write);
      session.machine.break_after(step, c.then);
      bool stopped = false;
      try {
        session.run("#kapop game.bin");
      } catch (const MachineStopped&) {
        stopped = true;
      }
      broke = session.machine.broke();
      ASSERT_EQ(stopped, broke && c.then == Breakdown::stops);
      const bool told = session.shared->file_handle.troubled();
      const std::string at_once = image();
      if (c.power_fails) session.machine.lose_power(chance);
      start();
      session.machine.short_writes({});
      const std::string line = session.run("#kapop game.bin");
      const bool recovered = line.find("was cut short: the old bytes are back") != std::string::npos;
      if (c.then == Breakdown::passes) {
        EXPECT_EQ(at_once, told ? old : fresh) << "put back at once, and told";
        EXPECT_FALSE(recovered);
      }
      EXPECT_TRUE(image() == old || image() == fresh) << image();
      EXPECT_TRUE(broke || image() == fresh) << line << at_once << image();
      EXPECT_FALSE(is_there(kUnderWay));
      seen.old_image += image() == old ? 1 : 0;
      seen.new_image += image() == fresh ? 1 : 0;
      seen.recovered += recovered ? 1 : 0;
      if (image() == fresh) session.run("#unburn game.bin");
      EXPECT_EQ(image(), old);
      ASSERT_LT(step, 1000U);
    }
    EXPECT_GT(seen.old_image, 5);
    EXPECT_GE(seen.new_image, 1);
    EXPECT_EQ(seen.recovered > 2, c.then != Breakdown::passes);
  }
}

TEST_F(BurnJournalTest, RecoveryAndUnburnMayBeCutShort) {
  const std::string old(32, '.');
  const std::string fresh = burned(old);
  // Runs `line` on a machine that stops behind `steps` changes; whether it did.
  const auto stops = [&](const std::string& line, std::size_t steps) {
    session.machine.short_writes(3);
    session.machine.break_after(steps, Breakdown::stops);
    try {
      session.run(line);
    } catch (const MachineStopped&) {
    }
    return session.machine.broke();
  };
  const auto burn = [&](std::size_t steps) {
    start();
    session.machine.add_file(kImage, old);
    compile();
    return stops("#kapop game.bin", steps);
  };
  std::size_t half = 0;
  while (burn(half) && image() == old) ++half;
  ASSERT_NE(image(), fresh);
  ++half;
  int recoveries = 0;
  for (const std::size_t burned : {half, std::size_t{1000}}) {
    bool stopped = true;
    for (std::size_t step = 0; stopped; ++step) {
      SCOPED_TRACE(step);
      burn(burned);
      start();
      stopped = stops("#unburn game.bin", step);
      start();
      const std::string line = session.run("#kapop game.bin");
      recoveries += line.find("the old bytes are back") != std::string::npos ? 1 : 0;
      EXPECT_TRUE(image() == old || (burned != half && image() == fresh && stopped)) << image();
      EXPECT_FALSE(is_there(kUnderWay));
    }
  }
  EXPECT_GT(recoveries, 10);
}

TEST_F(BurnJournalTest, SaysWhetherTheOldBytesAreBack) {
  session.machine.add_file(kImage, std::string(32, '.'));
  compile();
  session.run("#journal off");
  session.machine.break_after(2, Breakdown::passes);
  const std::string old_are_back = session.run("#kapop game.bin");
  EXPECT_NE(old_are_back.find("\n - The burn failed: Device I/O error"), std::string::npos) << old_are_back;
  EXPECT_NE(old_are_back.find("\n - The old bytes are back: game.bin is as it was before"), std::string::npos);
  session.machine.break_after(2, Breakdown::lasts);
  EXPECT_NE(session.run("#kapop game.bin").find("game.bin is half burned, and there is no journal"), std::string::npos);
  EXPECT_TRUE(session.shared->file_handle.troubled());
}

TEST_F(BurnJournalTest, UnburnTakesBackTheLastBurnAndNoOther) {
  session.machine.add_file(kImage, std::string(32, '.'));
  compile();
  session.run("#kapop game.bin");
  const std::string first = image();
  session.run("#org a.0x2 0;#inline 0x77");
  session.run("#kapop game.bin");
  const std::string second = image();
  ASSERT_NE(first, second);

  const std::string listed = session.run("#file game.bin;#burns");
  for (const char* line : {" - The last burn of /desk/game.bin wrote 20 bytes; the length stayed 34",
                           " - a.&h4 at 0x4, length 6", " - d.&h1e at 0x1E, length 4"})
    EXPECT_NE(listed.find(line), std::string::npos) << listed;
  session.machine.add_file(kImage, second + "!");
  EXPECT_NE(session.run("#unburn").find("game.bin has changed since its last burn"), std::string::npos);
  EXPECT_EQ(image(), second + "!");
  session.machine.add_file(kImage, second);
  session.run("#unburn");
  EXPECT_EQ(image(), first);
  EXPECT_NE(session.run("#unburn").find("There is no journal of a burn of /desk/game.bin"), std::string::npos);
  EXPECT_NE(session.run("#burns").find("There is no journal of a burn of /desk/game.bin"), std::string::npos);
  EXPECT_EQ(image(), first);

  session.run("#kapop game.bin");
  EXPECT_TRUE(is_there(kDone));
  session.run("#journal off;#kapop game.bin");
  EXPECT_FALSE(is_there(kDone)) << "it would be of a burn that is not the last";
  EXPECT_EQ(image(), second);
}

TEST_F(BurnJournalTest, RefusesWhatWouldHarm) {
  const std::string old(32, '.');
  const std::string fresh = burned(old);
  const std::string journal = session.machine.bytes(kDone);
  std::string damaged = journal;
  damaged[60] ^= 1;
  struct Case {
    std::string what;
    std::function<void()> prepare;
    std::string image, said;
  };
  MemoryMachine& machine = session.machine;
  for (const Case& c : std::initializer_list<Case>{
           {"burned by another", [&] { machine.lock(kImage); }, old, "game.bin is being burned by another program"},
           {"no folder", [&] { machine.deny(kUnderWay); }, old, "\"#journal off\" burns without a journal"},
           {"foreign", [&] { machine.add_file(kDone, "my notes"); }, old, "game.bin.burn is no journal of a burn"},
           {"foreign", [&] { machine.add_file(kUnderWay, "my notes"); }, old,
            "game.bin.burning is no journal of a burn"},
           {"shorter now", [&] { machine.add_file(kUnderWay, journal), machine.add_file(kImage, "."); }, ".",
            "has 1 bytes"},
           {"cut", [&] { machine.add_file(kUnderWay, journal.substr(0, 99)); }, fresh, "cut short before it wrote"},
           {"empty", [&] { machine.add_file(kUnderWay, ""); }, fresh, "cut short before it wrote"},
           {"zeros", [&] { machine.add_file(kUnderWay, std::string(9, '\0')); }, fresh, "cut short before it wrote"},
           {"damaged", [&] { machine.add_file(kUnderWay, damaged); }, fresh, "cut short before it wrote"}}) {
    SCOPED_TRACE(c.what);
    start();
    machine.add_file(kImage, old);
    c.prepare();
    compile();
    EXPECT_NE(session.run("#kapop game.bin").find(c.said), std::string::npos) << session.log();
    EXPECT_EQ(image(), c.image);
    if (machine.exists(kDone) && machine.bytes(kDone) == "my notes") machine.files().remove_file(kDone);
    machine.lock(kImage, false);
    machine.deny(kUnderWay, false);
    if (machine.exists(kUnderWay)) machine.files().remove_file(kUnderWay);
  }
}

}  // namespace
}  // namespace tidewright
