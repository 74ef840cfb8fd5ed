// What is typed at a terminal, or sent to the agent to lock it, and what the processes still hold of it afterwards.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include "tests/host/agent/CardAgent.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/RunningProgram.h"

namespace {

using namespace std::chrono_literals;

HiddenText Hidden(std::string text) {
  return HiddenText(text);
}

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// How often the whole of `secret`, or one of its halves, stands in the memory of `process`.
int CopiesOf(const std::string& secret, pid_t process) {
  const size_t half = secret.size() / 2;
  int copies = 0;
  for (const std::string& part : {secret, secret.substr(0, half), secret.substr(half)})
    copies += CopiesInMemory(process, Hidden(part));
  return copies;
}

bool CanLookInto(pid_t process) {
  return CopiesInMemory(process, Hidden("something")) >= 0;
}

TEST(TypedPin, IsInNeitherProcessAfterTheLogin) {
  // Freed memory is to be used again as it is for a user: the sanitizer would keep Foundation's freed strings.
  setenv("ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0", 1);
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(mkfifo(card.Path("signature").c_str(), 0600), 0);  // holds the host where it hands over the result
  ChildEnvironment environment = card.Environment();
  environment["TERM"] = "xterm";
  RunningProgram host(QEL_CTKHOST,
                      {"sign", "--key", card.KeyID(), "--algorithm", "ecdsa-sha256", "--in", card.Path("message"),
                       "--out", card.Path("signature")},
                      environment, RunningProgram::Output::Terminal);
  ASSERT_TRUE(host.Prints("PIN of card ")) << host.Printed();
  while (host.Echoes()) std::this_thread::sleep_for(10ms);
  // With a slip and its correction, so that what was taken back is looked for as well.
  host.Type("another-canary-7351-2846\x15" + RealCard::Pin() + "9\x7F\n");
  for (int i = 0; i < 200 && Count(card.Text("trace"), " C_Sign(") < 2; ++i) std::this_thread::sleep_for(100ms);
  ASSERT_EQ(Count(card.Text("trace"), " C_Sign("), 2U) << host.Printed();
  std::this_thread::sleep_for(500ms);
  std::ifstream children("/proc/" + std::to_string(host.Process()) + "/task/" + std::to_string(host.Process()) +
                         "/children");
  pid_t extension = 0;
  children >> extension;
  if (!CanLookInto(host.Process())) GTEST_SKIP() << "may not read the memory of another process here";
  EXPECT_GT(CopiesInMemory(host.Process(), Hidden("QEL Soft Reader")), 0) << "the search finds nothing at all";
  EXPECT_EQ(CopiesOf(RealCard::Pin(), host.Process()), 0);
  EXPECT_EQ(CopiesOf("another-canary-7351-2846", host.Process()), 0);
  EXPECT_EQ(CopiesOf(RealCard::Pin(), extension), 0);
  const int result = open(card.Path("signature").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_EQ(host.Wait(), 0) << host.Printed();
  close(result);
}

TEST(TypedPin, IsNotInTheProgramThatTypedItAtAPinPad) {
  const std::string pin = "canary-73519246-PIN";  // in two registers, which a copy leaves behind
  const RealCard card({"--pin-pad", "--key", "p256"}, pin);
  const std::string key = card.KeyID();
  auto signature = std::async(std::launch::async, [&] { return card.Sign(key, "ecdsa-sha256"); });
  ChildEnvironment environment = card.Environment();
  environment["LD_PRELOAD"] = QEL_PAUSE_AT_END;
  RunningProgram softcard(QEL_SOFTCARD, {"pinpad", "enter", "--wait", "20"}, environment,
                          RunningProgram::Output::Terminal);
  ASSERT_TRUE(softcard.Prints("PIN: ")) << softcard.Printed();
  while (softcard.Echoes()) std::this_thread::sleep_for(10ms);
  softcard.Type(pin + "\n");
  EXPECT_EQ(signature.get().exitStatus, 0);
  while (!softcard.Echoes()) std::this_thread::sleep_for(10ms);
  std::this_thread::sleep_for(200ms);
  if (!CanLookInto(softcard.Process())) GTEST_SKIP() << "may not read the memory of another process here";
  EXPECT_GT(CopiesInMemory(softcard.Process(), Hidden("QEL Soft Reader")), 0) << "the search finds nothing at all";
  EXPECT_EQ(CopiesOf(pin, softcard.Process()), 0);
  softcard.Type(".\n");
  EXPECT_EQ(softcard.Wait(), 0) << softcard.Printed();
}

TEST(AgentsPassphrase, IsNotInTheAgentOnceItIsLockedOrUnlocked) {
  CardAgent agent({"p256"});
  AgentClient client(agent.Socket());
  const std::string passphrase = "passphrase-canary-8823-1197-5520-6641-0092-7735-the-end";
  for (const uint8_t request : {uint8_t{22}, uint8_t{23}}) {
    ASSERT_EQ(client.Ask(Ssh::Writer().Byte(request).String(passphrase).Take()), Ssh::Bytes{6});
    if (!CanLookInto(agent.Process().ProcessId())) GTEST_SKIP() << "may not read the memory of another process here";
    EXPECT_EQ(CopiesOf(passphrase, agent.Process().ProcessId()), 0) << int{request};
  }
}

}  // namespace
