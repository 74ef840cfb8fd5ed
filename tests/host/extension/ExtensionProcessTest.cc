#include "host/extension/ExtensionProcess.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/keys/KeySession.h"
#include "tests/host/FakeCard.h"
#include "tests/host/FakeKey.h"

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

  /// Whether nobody but the system remembers `process`.
  static bool IsZombie(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(status), {}};
    return text.find(") Z ") != std::string::npos;
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

TEST_F(ExtensionProcessTest, TheExtensionGetsAGnustepConfigurationThatStartsNoProgram) {
  setenv("GNUSTEP_CONFIG_FILE", "/etc/GNUstep/GNUstep.conf", 1);
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  unsetenv("GNUSTEP_CONFIG_FILE");
  std::ifstream file("/proc/" + std::to_string(process.ProcessId()) + "/environ");
  std::vector<std::string> given;
  for (std::string variable; std::getline(file, variable, '\0');)
    if (variable.rfind("GNUSTEP_", 0) == 0) given.push_back(variable);
  EXPECT_EQ(given, std::vector<std::string>{"GNUSTEP_CONFIG_FILE=/etc/GNUstep/"});
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
    {"nested 100000", "the extension's answer is not understood (the header is nested too deep) and it was ended",
     kTryAgain},
    {"drip", "the extension did not answer within 500 ms and was ended",
     "; try again, with a longer --timeout if the card needs it"},
    {"leave", "the extension ended with status 3", kTryAgain},
};

INSTANTIATE_TEST_SUITE_P(ExtensionProcess, Ends, ::testing::ValuesIn(kEnds));

struct Answer {
  const char* name;
  const char* call;
  std::string result;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.name;
}

/// A token with one key, of which `member` has another value.
Answer KeyWith(const char* name, const char* member, const nlohmann::json& value) {
  nlohmann::json key = FakeKey();
  key[member] = value;
  return {name, "createToken", nlohmann::json{{"token", 7}, {"instanceID", "QEL-FAKE"}, {"items", {key}}}.dump()};
}

class Nonsense : public ExtensionProcessTest, public ::testing::WithParamInterface<Answer> {};

TEST_P(Nonsense, CostsOneRequestAndTheNextStartsAnotherProcess) {
  m_card.Script(GetParam().call, {"answer " + GetParam().result, "ok"});
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  const auto ask = [&] {
    process.Ask("createToken", [](Wire::Client& client) { return client.CreateToken("Test Reader"); });
    process.Ask("beginAuth", [](Wire::Client& client) { return client.BeginAuth(8, Wire::Operation::SignData, true); });
  };
  std::string problem;
  try {
    ask();
  } catch (const Failure& failure) {
    problem = failure.what();
  }
  EXPECT_NE(problem.find("the extension's answer is not understood"), std::string::npos) << problem;
  EXPECT_FALSE(process.IsRunning());
  ask();
}

INSTANTIATE_TEST_SUITE_P(
    ExtensionProcess, Nonsense,
    ::testing::Values(KeyWith("a negative key size", "keySizeInBits", -2048),
                      KeyWith("a key size beyond reason", "keySizeInBits", 1LL << 40),
                      KeyWith("a key size that is text", "keySizeInBits", "2048"),
                      KeyWith("a key size that is a truth value", "keySizeInBits", true),
                      KeyWith("an identifier that is not hexadecimal", "objectID", "\x1b[2J"),
                      KeyWith("a constraint that is a list", "constraints", {{"2", {1, 2}}}),
                      KeyWith("an operation that is no number", "constraints", {{"2x", true}}),
                      KeyWith("an operation that is too large a number", "constraints", {{"99999999999999", true}}),
                      Answer{"no items", "createToken", R"({"token": 7, "instanceID": "QEL-FAKE"})"},
                      Answer{"an unknown login", "beginAuth", R"({"auth": 9, "kind": "retina"})"}));

TEST_F(ExtensionProcessTest, WhatAnEndedExtensionLeftBehindIsEndedAsWell) {
  m_card.Script("createSession", {"leave", "ok"});
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  EXPECT_NE(FailureOf(process), "");
  const pid_t left = std::stoi(m_card.Text("left"));
  for (int i = 0; i < 100 && kill(left, 0) == 0 && !IsZombie(left); ++i) usleep(20000);
  EXPECT_TRUE(kill(left, 0) != 0 || IsZombie(left));
}

TEST_F(ExtensionProcessTest, AnAnswerIsNoLongerWaitedForOnceToldToStop) {
  int stop[2];
  ASSERT_EQ(pipe(stop), 0);
  m_card.Script("createSession", {"ok", "hang"});
  ExtensionProcess process(QEL_FAKE_BUNDLE, std::chrono::seconds(60));
  process.GiveUpAt(stop[0]);
  Ask(process);
  ASSERT_EQ(write(stop[1], "", 1), 1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(FailureOf(process), "opening the card was stopped, and the extension with it");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_FALSE(process.IsRunning());
  close(stop[0]);
  close(stop[1]);
}

TEST_F(ExtensionProcessTest, WhatIsTooLongToBeAskedEndsNothing) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  const Wire::Bytes data(Wire::MaximumPartLength + 1);
  try {
    process.Ask({"signData", "signing"}, [&](Wire::Client& client) { return client.SignData(8, "12a1", {}, data); });
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(),
                 "signing failed: the data is too long (attachment of 16777217 bytes, allowed are 16777216)");
  }
  Ask(process);
  EXPECT_EQ(process.Run(), 1);
}

TEST_F(ExtensionProcessTest, LeadsAProcessGroupOfItsOwn) {
  ExtensionProcess process(QEL_FAKE_BUNDLE, kTimeout);
  Ask(process);
  EXPECT_EQ(getpgid(process.ProcessId()), process.ProcessId());
}

TEST_F(ExtensionProcessTest, EndsWithItsHostEvenWhenItHangs) {
  m_card.Script("createSession", {"hang"});
  int told[2];
  ASSERT_EQ(pipe(told), 0);
  const pid_t host = fork();
  if (host == 0) {
    ExtensionProcess process(QEL_FAKE_BUNDLE, std::chrono::seconds(60));
    process.Ask("hello", [](Wire::Client& client) { return client.Hello(); });
    const pid_t extension = process.ProcessId();
    if (write(told[1], &extension, sizeof extension) != sizeof extension) _exit(1);
    Ask(process);
    _exit(0);
  }
  pid_t extension = 0;
  ASSERT_EQ(read(told[0], &extension, sizeof extension), static_cast<ssize_t>(sizeof extension));
  kill(host, SIGKILL);
  waitpid(host, nullptr, 0);
  for (int i = 0; i < 100 && kill(extension, 0) == 0 && !IsZombie(extension); ++i) usleep(20000);
  EXPECT_TRUE(kill(extension, 0) != 0 || IsZombie(extension));
  close(told[0]);
  close(told[1]);
}

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
