// What the program tells about its directives and commands, and about words that are mistyped.
#include <gtest/gtest.h>

#include "base/nearest.h"
#include "tests/session.h"

namespace tidewright {
namespace {

TEST(NearestTest, NearWordsComeNearestFirstAndAtMostThree) {
  struct Case {
    std::string_view typed;
    std::vector<std::string_view> found;
  };
  for (const Case& c : std::initializer_list<Case>{{"KAPOP", {"kapop", "kapow", "kapops"}},
                                                   {"kapokes", {"kapoke", "kapops"}},
                                                   {"kapo", {"kapop", "kapow"}},
                                                   {"dri", {"dir"}},
                                                   {"x", {}},
                                                   {"nonsense", {}}}) {
    EXPECT_EQ(nearest(c.typed, {"kapoke", "kapop", "kapow", "dir", "kapop", "kapops"}), c.found) << c.typed;
  }
}

TEST(HelpTest, EveryDirectiveIsListedWithItsSentenceAndTold) {
  Session session;
  const std::string list = session.run("#help");
  for (const DirectiveHelp& directive : Control::directives()) {
    EXPECT_TRUE(directive.description.ends_with('.')) << directive.words[0];
    EXPECT_NE(list.find(directive.usage()), std::string::npos) << directive.words[0];
    for (const std::string_view word : directive.words) {
      EXPECT_TRUE(session.run(cat({"#HELP ", word})).starts_with(directive.usage() + "\n  ")) << word;
    }
  }
  EXPECT_FALSE(session.shared->file_handle.troubled());
}

TEST(HelpTest, CommandsAndAliasesOfTheDatabaseAreTold) {
  Session session;
  session.run("#addcmmd Tell 0x3A ' whom, and what");
  session.run(
      "#addparm 0 whom; #addparm 5 select(2,4); #addparm 8; #addparm 6 &h01; "
      "#addparm 4; #alias step to $1; #addparm 7 tell; #addparm 0; #alias step back; #addparm 7 tell; #do");
  EXPECT_EQ(session.run("#help TELL"),
            "tell WHOM CHOICE TEXT\n  whom, and what\n  Byte code &h3A, then a byte (whom), a byte (select(2,4)), a "
            "pointer to text,\n  the constant &h01, the end of the script.");
  EXPECT_EQ(session.run("#help step"),
            "step to $1\n  An alias, which stands for tell $1.\nstep back\n  An alias, which stands for tell.");
  EXPECT_EQ(session.run("#help step bakc"),
            " - There is no directive and no command \"step bakc\" (did you mean step back?)");
  EXPECT_TRUE(session.shared->file_handle.troubled());
}

TEST(HelpTest, AMistypedDirectiveIsToldItsNeighbours) {
  Session session;
  session.run("#fullog on");
  session.run("#00 fullog");
  ASSERT_EQ(session.machine.user().boxes.size(), 2U);
  EXPECT_NE(session.machine.user().boxes[0].text.find("data (did you mean #fulllog?), in"), std::string::npos);
  EXPECT_NE(session.machine.user().boxes[1].text.find("data, in"), std::string::npos);
}

}  // namespace
}  // namespace tidewright
