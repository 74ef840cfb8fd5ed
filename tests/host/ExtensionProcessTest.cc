#include "host/ExtensionProcess.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "host/TokenService.h"
#include "tests/host/FakeCard.h"

using Host::ExtensionProcess;
using Host::Failure;

namespace {

constexpr std::chrono::milliseconds kTimeout{500};

class ExtensionProcessTest : public ::testing::Test {
 protected:
  ExtensionProcessTest() { setenv("FAKE_EXTENSION", m_card.Path("").c_str(), 1); }
  ~ExtensionProcessTest() override { unsetenv("FAKE_EXTENSION"); }

  static auto Ask(ExtensionProcess& process) {
    return process.Ask({"createSession", "opening the card"},
                       [](Wire::Client& client) { return client.CreateSession(1); });
  }

  static std::string FailureOf(ExtensionProcess& process) {
    try {
      Ask(process);
      return "";
    } catch (const Failure& failure) {
      return failure.what();
    }
  }

  FakeCard m_card;
};

TEST_F(ExtensionProcessTest, OneProcessAnswersAllRequests) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  const pid_t first = process.ProcessId();
  Ask(process);
  EXPECT_EQ(process.ProcessId(), first);
  EXPECT_EQ(process.Run(), 1);
}

TEST_F(ExtensionProcessTest, LeavesByItselfWhenTheHostIsDone) {
  {
    ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
    Ask(process);
  }
  EXPECT_EQ(m_card.Calls().back(), "left");
}

struct End {
  const char* instruction;
  const char* what;
  const char* advice;
};

void PrintTo(const End& end, std::ostream* out) {
  *out << end.instruction;
}

class Ends : public ExtensionProcessTest, public ::testing::WithParamInterface<End> {};

TEST_P(Ends, CostOneRequestAndTheNextStartsAnotherProcess) {
  m_card.Script("createSession", {GetParam().instruction, "ok"});
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  EXPECT_EQ(FailureOf(process), std::string("opening the card failed: ") + GetParam().what + GetParam().advice);
  EXPECT_FALSE(process.IsRunning());
  EXPECT_EQ(*Ask(process), 8);
  EXPECT_EQ(process.Run(), 2);
}

const char kTryAgain[] = "; try again, and if it fails again, show a help desk what 'ctkhost support' prints";
const End kEnds[] = {
    {"crash", "the extension was ended by signal 11 (Segmentation fault)", kTryAgain},
    {"exit 3", "the extension ended with status 3", kTryAgain},
    {"hang", "the extension did not answer within 500 ms and was ended",
     "; try again, with a longer --timeout if the card needs it"},
    {"garbage", "the extension's answer is not understood (the header is not a JSON object) and it was ended",
     kTryAgain},
    {"truncated", "the extension ended with status 0", kTryAgain},
};

INSTANTIATE_TEST_SUITE_P(ExtensionProcess, Ends, ::testing::ValuesIn(kEnds));

TEST_F(ExtensionProcessTest, OneKilledBetweenTwoRequestsCostsNone) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  kill(process.ProcessId(), SIGKILL);
  siginfo_t ended;
  waitid(P_PID, static_cast<id_t>(process.ProcessId()), &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(*Ask(process), 8);
  EXPECT_EQ(process.Run(), 2);
}

TEST_F(ExtensionProcessTest, InheritsItsSocketAndTheStandardDescriptorsOnly) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  std::vector<std::string> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process.ProcessId()) + "/fd"))
    descriptors.push_back(entry.path().filename());
  std::sort(descriptors.begin(), descriptors.end());
  EXPECT_EQ(descriptors, (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST_F(ExtensionProcessTest, ATokenOfAnEndedProcessIsNotEndedAgain) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  {
    Host::CardToken token(process, "Test Reader");
    m_card.Script("createSession", {"crash", "ok"});
    EXPECT_NE(FailureOf(process), "");
    Ask(process);
  }
  EXPECT_EQ(m_card.CallLine("terminateToken"), "");
}

TEST_F(ExtensionProcessTest, AMissingExecutableIsNamed) {
  ExtensionProcess process("/nowhere/Some.appex", kTimeout);
  EXPECT_EQ(FailureOf(process),
            "the extension cannot be started: /nowhere/Some.appex/Contents/MacOS/Some: No such file "
            "or directory; build it, or name its bundle with --extension");
}

TEST_F(ExtensionProcessTest, TellsTheObserverOfRequestsAndOutcomesInOrder) {
  std::vector<std::string> lines;
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout, [&](const std::string& line) { lines.push_back(line); });
  Ask(process);
  lines.erase(lines.begin());  // names the process
  EXPECT_EQ(lines, (std::vector<std::string>{"-> hello", "<- done", "-> createSession", "<- done"}));
}

}  // namespace
