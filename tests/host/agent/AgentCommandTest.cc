// `ctkhost agent -- COMMAND`, which serves one command and ends with it.

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "tests/integration/RealCard.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

class AgentCommand : public testing::Test {
 protected:
  /// Runs `words` with an agent for the card.
  ChildResult Run(const std::vector<std::string>& words) const {
    std::vector<std::string> arguments = {"agent", "--"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return m_card.Host(arguments);
  }
  ChildResult RunShell(const std::string& script) const { return Run({"/bin/sh", "-c", script}); }

  const RealCard m_card{{"--key", "p256"}};
};

TEST_F(AgentCommand, HasTheCardsKeysAndSaysAllThereIsToSay) {
  const ChildResult result = Run({QEL_SSH_ADD, "-L"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, MatchesRegex("ecdsa-sha2-nistp256 [^ ]* EC P-256 key 1 [^\n]*\n"));
}

TEST_F(AgentCommand, EndsTheAgentWithItsExitStatus) {
  const struct {
    const char* script;
    int status;
  } kRows[] = {{"exit 0", 0}, {"exit 3", 3}, {"exit 255", 255}, {"kill -TERM $$", 143}};
  for (const auto& row : kRows) {
    const ChildResult result = RunShell(row.script);
    EXPECT_EQ(result.exitStatus, row.status) << row.script;
    EXPECT_EQ(result.output + result.errors, "") << row.script;
  }
}

TEST_F(AgentCommand, LeavesNoSocketBehind) {
  const std::string socket = RunShell("test -S \"$SSH_AUTH_SOCK\" && printf %s \"$SSH_AUTH_SOCK\"").output;
  ASSERT_NE(socket, "");
  EXPECT_FALSE(std::filesystem::exists(socket));
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(socket).parent_path()));
}

TEST_F(AgentCommand, HasTheWordsOfAllKindsBehindTwoHyphens) {
  EXPECT_EQ(Run({"/bin/echo", "list", "--help", "--json", "-t", "--", "log"}).output, "list --help --json -t -- log\n");
}

TEST_F(AgentCommand, ThatIsNotThereIsSaidToBe) {
  const ChildResult result = Run({"/no/such/program"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "ctkhost: /no/such/program cannot be started: No such file or directory\n");
}

TEST_F(AgentCommand, GoesOnWhenTheUserInterruptsWhatItRuns) {
  const ChildResult result = RunShell("trap : INT; kill -INT $SSH_AGENT_PID $$; exec '" QEL_SSH_ADD "' -L");
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("ecdsa-sha2-nistp256"));
}

TEST_F(AgentCommand, IsAskedToEndWhenTheAgentIs) {
  const ChildResult result = RunShell(
      "trap 'exit 7' TERM; kill -TERM $SSH_AGENT_PID; i=0; while [ $i -lt 400 ]; do sleep 0.05; i=$((i + 1)); done");
  EXPECT_EQ(result.exitStatus, 7) << result.errors;
}

TEST(AgentKeys, WithSeveralCertificatesAreListedOnce) {
  const RealCard card({"--empty"});
  const std::string key = card.Path("key.pem"), one = card.Path("one.pem"), two = card.Path("two.pem");
  for (const std::string& certificate : {one, two})
    ASSERT_EQ(
        RunChild("/bin/sh", {"-c", "cd '" + card.Folder().string() +
                                       "' && { test -e key.pem || openssl genpkey "
                                       "-algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out key.pem; } && openssl req "
                                       "-new -x509 -key key.pem -subj /CN=test -out '" +
                                       certificate + "'"})
            .exitStatus,
        0);
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  ASSERT_EQ(card.SoftCard({"init", "twice", "--import", "key=" + key + ",certificate=" + one + ",id=0a", "--import",
                           "certificate=" + two + ",id=0b,label=Two", "--pin-file", card.Path("pin")})
                .exitStatus,
            0);
  ASSERT_EQ(card.SoftCard({"insert", "twice"}).exitStatus, 0);
  ASSERT_EQ(card.Items().size(), 3u);
  const std::string listed = card.Host({"agent", "--", QEL_SSH_ADD, "-L"}).output;
  EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 1) << listed;
}

}  // namespace
