#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "host/base/Failure.h"
#include "host/terminal/TerminalQuestion.h"
#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"

namespace {

/// What a user at a terminal sees and what the program ended with.
struct Conversation {
  std::string seen;
  int exitStatus = -1;
};

bool Echoes(int terminal) {
  termios settings = {};
  return tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

/// Runs `ctkhost sign` at a terminal of its own and types `answer` once the terminal does not echo any more.
Conversation Converse(const FakeCard& card, const std::string& answer) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    for (const auto& [name, value] : card.Environment()) setenv(name.c_str(), value->c_str(), 1);
    setenv("TERM", "dumb", 1);  // which shows no progress, however slow this machine is
    std::vector<std::string> arguments = card.SignArguments();
    std::vector<char*> pointers = {const_cast<char*>("ctkhost")};
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execv(QEL_CTKHOST, pointers.data());
    _exit(127);
  }
  while (Echoes(terminal)) usleep(1000);
  EXPECT_EQ(write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
  Conversation conversation;
  char buffer[256];
  for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;)
    conversation.seen.append(buffer, static_cast<size_t>(got));
  close(terminal);
  int status = 0;
  waitpid(child, &status, 0);
  conversation.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return conversation;
}

constexpr char kPrompt[] = "PIN of card QEL-FAKE in reader \"Test Reader\" (2 tries left): ";
constexpr char kCancelled[] = "ctkhost: PIN entry was cancelled; run the command again";

class TerminalTest : public ::testing::Test {
 protected:
  TerminalTest() { m_card.Script("signData", {"error CryptoTokenKit -9", "ok"}); }
  FakeCard m_card;
};

TEST_F(TerminalTest, ThePinIsTypedWithoutEchoAndTheTriesLeftAreTold) {
  const Conversation conversation = Converse(m_card, "1234\n");
  EXPECT_EQ(conversation.exitStatus, 0) << conversation.seen;
  EXPECT_EQ(conversation.seen, kPrompt + std::string("\r\n") + m_card.Path("out") + ": 6 bytes\r\n");
}

TEST_F(TerminalTest, NothingTypedIsNotTried) {
  const Conversation conversation = Converse(m_card, "\n");
  EXPECT_EQ(conversation.exitStatus, 6) << conversation.seen;
  EXPECT_NE(conversation.seen.find("ctkhost: no PIN was typed, so none was tried; run the command again\r\n"),
            std::string::npos)
      << conversation.seen;
  EXPECT_EQ(m_card.CallLine("finishAuth"), "");
}

TEST_F(TerminalTest, AnInterruptedEntryIsCancelled) {
  const Conversation conversation = Converse(m_card, "12\x03");
  EXPECT_EQ(conversation.exitStatus, 6) << conversation.seen;
  EXPECT_NE(conversation.seen.find(kCancelled), std::string::npos);
  EXPECT_FALSE(m_card.Has("out"));
}

TEST_F(TerminalTest, TheEndOfTheInputCancelsTheEntry) {
  const Conversation conversation = Converse(m_card, "12\x04");
  EXPECT_EQ(conversation.exitStatus, 6) << conversation.seen;
  EXPECT_NE(conversation.seen.find(kCancelled), std::string::npos) << conversation.seen;
  EXPECT_EQ(m_card.CallLine("finishAuth"), "");
}

TEST_F(TerminalTest, WhatIsTypedCanBeTakenBackByCharacterAndAltogether) {
  EXPECT_EQ(Converse(m_card,
                     "9\x15"
                     "12\xC3\xA9\x7F"
                     "39\x7F"
                     "4\n")
                .exitStatus,
            0);
  std::filesystem::remove(m_card.Path("signData.times"));
  EXPECT_EQ(Converse(m_card,
                     "\x7F\x7F"
                     "1234\r")
                .exitStatus,
            0);
}

TEST_F(TerminalTest, MoreThanAPinIsNotTried) {
  const Conversation conversation = Converse(m_card, std::string(1100, '1') + "\n");
  EXPECT_EQ(conversation.exitStatus, 1) << conversation.seen;
  EXPECT_NE(conversation.seen.find("what was typed is too long for a PIN"), std::string::npos) << conversation.seen;
  EXPECT_EQ(m_card.CallLine("finishAuth"), "");
}

/// A shell with job control, at whose terminal `ctkhost sign` asks for the PIN.
class AtAShell : public TerminalTest {
 protected:
  AtAShell() {
    ChildEnvironment environment = m_card.Environment();
    environment["PS1"] = "shell> ";
    environment["TERM"] = "dumb";
    environment["HISTFILE"] = "/dev/null";
    m_shell.emplace("/bin/bash", std::vector<std::string>{"--norc", "--noprofile", "-i"}, environment,
                    RunningProgram::Output::Terminal);
    EXPECT_TRUE(m_shell->Prints("shell> "));
  }

  void Command(const std::string& end) {
    std::string command = QEL_CTKHOST;
    for (const std::string& argument : m_card.SignArguments()) command += " '" + argument + "'";
    m_shell->Type(command + end + "\n");
  }

  /// The shell's word for the last command's exit status.
  bool EndedWith(int status) {
    m_shell->Type("echo status $?\n");
    return m_shell->Prints("status " + std::to_string(status) + "\r\n");
  }

  std::optional<RunningProgram> m_shell;
};

TEST_F(AtAShell, StoppingTheEntryGivesTheTerminalBackAndGoingOnAsksAnew) {
  Command("");
  ASSERT_TRUE(m_shell->Prints(kPrompt)) << m_shell->Printed();
  m_shell->Type("98\x1A");
  ASSERT_TRUE(m_shell->Prints("Stopped")) << m_shell->Printed();
  ASSERT_TRUE(m_shell->Prints("shell> "));
  m_shell->Type("echo here\n");
  ASSERT_TRUE(m_shell->Prints("\r\nhere\r\n")) << m_shell->Printed();
  m_shell->Type("fg\n");
  ASSERT_TRUE(m_shell->Prints(kPrompt)) << m_shell->Printed();
  m_shell->Type("1234\n");
  ASSERT_TRUE(m_shell->Prints("6 bytes")) << m_shell->Printed();
  EXPECT_TRUE(EndedWith(0)) << m_shell->Printed();
}

TEST_F(AtAShell, InTheBackgroundItStopsUntilItIsInFront) {
  Command(" &");
  ASSERT_TRUE(m_shell->Prints("shell> "));
  for (int i = 0; i < 100 && m_card.CallLine("beginAuth").empty(); ++i) usleep(100000);
  usleep(300000);
  m_shell->Type("1234\n");
  ASSERT_TRUE(m_shell->Prints("1234: command not found")) << m_shell->Printed();
  EXPECT_EQ(m_card.CallLine("finishAuth"), "");
  m_shell->Type("fg\n");
  ASSERT_TRUE(m_shell->Prints(kPrompt)) << m_shell->Printed();
  m_shell->Type("1234\n");
  ASSERT_TRUE(m_shell->Prints("6 bytes")) << m_shell->Printed();
}

TEST_F(AtAShell, ASignalThatEndsProgramsEndsItAndTheTerminalEchoesAgain) {
  Command("");
  ASSERT_TRUE(m_shell->Prints(kPrompt)) << m_shell->Printed();
  EXPECT_FALSE(m_shell->Echoes());
  m_shell->Type("98");
  ASSERT_EQ(RunChild("/bin/sh", {"-c", "kill -TERM $(cat /proc/" + std::to_string(m_shell->Process()) + "/task/" +
                                           std::to_string(m_shell->Process()) + "/children)"})
                .exitStatus,
            0);
  ASSERT_TRUE(m_shell->Prints("Terminated")) << m_shell->Printed();
  EXPECT_TRUE(EndedWith(143)) << m_shell->Printed();
}

/// What became of a question at a terminal of its own, in a process of its own.
class AloneAtATerminal {
 public:
  AloneAtATerminal(const Host::QuestionLimits& limits) {
    m_process = forkpty(&m_terminal, nullptr, nullptr, nullptr);
    if (m_process == 0) _exit(Ask(limits));
    while (Echoes(m_terminal)) usleep(1000);
  }
  ~AloneAtATerminal() { HangUp(); }

  void HangUp() {
    if (m_terminal >= 0) close(m_terminal);
    m_terminal = -1;
  }

  std::string Printed() {
    char buffer[256];
    for (ssize_t got; (got = read(m_terminal, buffer, sizeof buffer)) > 0;)
      m_printed.append(buffer, static_cast<size_t>(got));
    return m_printed;
  }

  /// The exit status; minus the number of the signal that ended it.
  int Ended() const {
    int status = 0;
    waitpid(m_process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  static int Ask(const Host::QuestionLimits& limits) {
    try {
      Host::AskOnTerminal("PIN: ", limits);
      return 0;
    } catch (const Host::Failure& failure) {
      std::fprintf(stderr, "%s\n", failure.what());
      return static_cast<int>(failure.Status());
    }
  }

  pid_t m_process = 0;
  int m_terminal = -1;
  std::string m_printed;
};

TEST(TerminalQuestion, IsGivenUpWhenNobodyAnswersInTime) {
  const auto start = std::chrono::steady_clock::now();
  AloneAtATerminal question({-1, std::chrono::seconds(1)});
  EXPECT_NE(question.Printed().find("PIN entry was cancelled: nobody answered for 1 second\r\n"), std::string::npos)
      << question.Printed();
  EXPECT_EQ(question.Ended(), 6);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(TerminalQuestion, IsGivenUpWhenWhoeverAsksIsToldToStop) {
  int stop[2];
  ASSERT_EQ(pipe(stop), 0);
  AloneAtATerminal question({stop[0], std::nullopt});
  ASSERT_EQ(write(stop[1], "", 1), 1);
  EXPECT_EQ(question.Ended(), 6);
  close(stop[0]);
  close(stop[1]);
}

TEST(TerminalQuestion, EndsWithItsTerminal) {
  AloneAtATerminal question({});
  question.HangUp();
  EXPECT_EQ(question.Ended(), -SIGHUP);
}

}  // namespace
