#include <gtest/gtest.h>

#include "tests/host/commands/UserHome.h"
#include "tests/integration/RealCard.h"

namespace {

/// Foundation here has a database of defaults below the home folder, with a lock that every program takes in turn: an
/// extension that wanted it would wait for all of them, and for ever where it may not write.
TEST(DefaultsDatabase, OfTheUsersOtherProgramsIsNoneOfTheExtensions) {
  const RealCard card({"--key", "p256"});
  const UserHome home;
  std::filesystem::create_directories(home.Path("GNUstep/Defaults/.lck/.GNUstepDefaults.lck"));
  ChildEnvironment environment = card.Environment();
  for (const auto& [name, value] : home.Environment()) environment[name] = value;
  const ChildResult result = RunChild(QEL_CTKHOST, {"--no-sandbox", "--timeout", "5", "list"}, environment);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
}

}  // namespace
