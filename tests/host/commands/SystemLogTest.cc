#include "host/commands/SystemLog.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "host/base/Failure.h"
#include "tests/host/commands/UserHome.h"

namespace {

namespace fs = std::filesystem;

class SystemLogTest : public ::testing::Test {
 protected:
  fs::path Root() const { return m_home.Path(""); }
  UserHome m_home;
};

TEST_F(SystemLogTest, AMachineWithoutOneIsToldSo) {
  EXPECT_FALSE(Host::FindSystemLog(Root()).IsThere());
  EXPECT_EQ(Host::Follow({}), nullptr);
}

TEST_F(SystemLogTest, TheFileOfSyslogIsFound) {
  fs::create_directories(Root() / "var/log");
  std::ofstream(Root() / "var/log/messages");
  EXPECT_EQ(Host::FindSystemLog(Root()).file, Root() / "var/log/messages");
}

TEST_F(SystemLogTest, TheJournalComesFirst) {
  fs::create_directories(Root() / "run/systemd/journal");
  fs::create_directories(Root() / "var/log");
  std::ofstream(Root() / "var/log/syslog");
  const Host::SystemLog log = Host::FindSystemLog(Root());
  EXPECT_EQ(log.command.at(0), "journalctl");
  EXPECT_TRUE(log.file.empty());
}

std::vector<std::string> UntilEnd(Host::FollowedLog& log) {
  std::vector<std::string> lines;
  while (log.Descriptor() >= 0) {
    pollfd waiting = {log.Descriptor(), POLLIN, 0};
    if (poll(&waiting, 1, 10000) <= 0) break;
    for (std::string& line : log.NewLines()) lines.push_back(std::move(line));
  }
  return lines;
}

TEST(FollowedProgram, GivesLinesUntilTheProgramEnds) {
  Host::FollowedProgram program({"sh", "-c", "echo one; echo two"});
  EXPECT_EQ(UntilEnd(program), (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(program.Descriptor(), -1);
}

TEST(FollowedProgram, IsEndedWithItsOwner) {
  const auto start = std::chrono::steady_clock::now();
  { Host::FollowedProgram program({"sleep", "30"}); }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(FollowedProgram, AMissingOneIsNamed) {
  try {
    Host::FollowedProgram program({"no-such-program"});
    FAIL();
  } catch (const Host::Failure& failure) {
    EXPECT_STREQ(failure.what(), "no-such-program cannot be started: No such file or directory");
  }
}

}  // namespace
