#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/host/FakeCard.h"

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

class TerminalTest : public ::testing::Test {
 protected:
  TerminalTest() { m_card.Script("signData", {"error CryptoTokenKit -9", "ok"}); }
  FakeCard m_card;
};

TEST_F(TerminalTest, ThePinIsTypedWithoutEchoAndTheTriesLeftAreTold) {
  const Conversation conversation = Converse(m_card, "1234\n");
  EXPECT_EQ(conversation.exitStatus, 0) << conversation.seen;
  EXPECT_EQ(conversation.seen, "PIN (tries left: 2): \r\n" + m_card.Path("out") + ": 6 bytes\r\n");
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
  EXPECT_NE(conversation.seen.find("ctkhost: PIN entry was cancelled; run the command again"), std::string::npos);
  EXPECT_FALSE(m_card.Has("out"));
}

}  // namespace
