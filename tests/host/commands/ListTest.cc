// What `ctkhost list` shows at a terminal.

#include <gmock/gmock.h>

#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char kBoldTitle[] = "\x1b[1mToken QEL-FAKE in reader Test Reader\x1b[0m\r\n";
constexpr char kBold[] = "\x1b[1m";

class ListAtATerminal : public ::testing::Test {
 protected:
  /// The output of the list at a terminal of so many columns.
  std::string List(int columns, const ChildEnvironment& more = {}) {
    ChildEnvironment environment = m_card.Environment();
    environment["TERM"] = "xterm";
    environment["NO_COLOR"] = std::nullopt;
    for (const auto& [name, value] : more) environment[name] = value;
    const std::string command = "stty cols " + std::to_string(columns) + " && exec '" QEL_CTKHOST "' '--extension' '" +
                                QEL_FAKE_BUNDLE + "' list";
    RunningProgram program("/bin/sh", {"-c", command}, environment, RunningProgram::Output::Terminal);
    EXPECT_EQ(program.Wait(), 0) << program.Printed();
    return program.Printed();
  }

  FakeCard m_card;
};

TEST_F(ListAtATerminal, HasAHeadingThatStandsOut) {
  EXPECT_THAT(List(80), HasSubstr(kBoldTitle));
}

TEST_F(ListAtATerminal, HasNoColoursWhereTheyAreNotWanted) {
  EXPECT_THAT(List(80, {{"NO_COLOR", "1"}}), Not(HasSubstr(kBold)));
  EXPECT_THAT(List(80, {{"TERM", "dumb"}}), Not(HasSubstr(kBold)));
  EXPECT_THAT(List(80, {{"TERM", std::nullopt}}), Not(HasSubstr(kBold)));
  EXPECT_THAT(List(80, {{"NO_COLOR", ""}}), HasSubstr(kBold)) << "an empty NO_COLOR is none";
}

TEST_F(ListAtATerminal, KeepsToTheTerminalsWidth) {
  const ChildEnvironment plain = {{"NO_COLOR", "1"}};
  EXPECT_THAT(List(80, plain), HasSubstr("  key   12a4  unguarded  RSA-2048  sign decrypt login  -\r\n"));
  EXPECT_THAT(List(50, plain), HasSubstr("  key 12a4\r\n    unguarded\r\n    RSA-2048; sign decrypt login; PIN -\r\n"));
  EXPECT_THAT(List(80, {{"NO_COLOR", "1"}, {"COLUMNS", "50"}}), HasSubstr("  key 12a4\r\n")) << "COLUMNS counts more";
}

TEST(List, IntoAPipeIsAsWideAsItNeedsToBe) {
  const FakeCard card;
  ChildEnvironment environment = card.Environment();
  EXPECT_THAT(RunChild(QEL_CTKHOST, {"--extension", QEL_FAKE_BUNDLE, "list"}, environment).output,
              HasSubstr("  key   12a4  unguarded  RSA-2048  sign decrypt login  -\n"));
  environment["COLUMNS"] = "50";
  EXPECT_THAT(RunChild(QEL_CTKHOST, {"--extension", QEL_FAKE_BUNDLE, "list"}, environment).output,
              HasSubstr("  key 12a4\n"));
}

TEST(List, ShowsOfAKeyWhatASessionAnswersAndNotWhatItsItemClaims) {
  const FakeCard card;
  card.Script("supportsOperation", {"no"});
  EXPECT_THAT(card.Host({"list"}).output, HasSubstr("  key   12a4  unguarded  RSA-2048  login  -\n"));
}

TEST(List, IsThereWithoutASessionToAsk) {
  const FakeCard card;
  card.Script("createSession", {"none"});
  const ChildResult result = card.Host({"list"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, HasSubstr("sign decrypt login"));
  EXPECT_THAT(result.errors, HasSubstr("the card cannot be opened"));
}

}  // namespace
