#include "host/agent/Server.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include "host/base/PrivateSocket.h"
#include "tests/host/agent/AgentClient.h"

namespace {

using Ssh::Bytes;

/// One key that is too long for a socket to take at once, and signs by giving back the data.
class LongList : public Ssh::Keyring {
 public:
  std::vector<Ssh::Identity> Identities() override { return {{Bytes(1 << 20), "a key of a megabyte"}}; }
  std::optional<Bytes> Sign(const Bytes&, const Bytes& data, uint32_t) override { return data; }
};

class Server : public ::testing::Test {
 protected:
  void Start(uid_t owner = geteuid()) {
    ASSERT_EQ(pipe(stop), 0);
    thread = std::thread([this, owner] { Host::AgentServer(socket.Descriptor(), owner, agent).Run(stop[0]); });
  }
  ~Server() override {
    if (!thread.joinable()) return;
    EXPECT_EQ(write(stop[1], "", 1), 1);
    thread.join();
    close(stop[0]);
    close(stop[1]);
  }

  bool Works() { return AgentClient(socket.Path()).Ask(Signed("x")) == SignatureOf("x"); }
  /// What `does` returns in a process of its own, as the user nobody. Only root can do that.
  template <class Function>
  static bool AsNobody(Function does) {
    constexpr uid_t kNobody = 65534;
    const pid_t child = fork();
    if (child == 0) _exit(setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0 && does() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0;
  }

  static Bytes Signed(const std::string& data) {
    return Ssh::Writer().Byte(13).String("key").String(data).Uint32(0).Take();
  }
  static Bytes SignatureOf(const std::string& data) { return Ssh::Writer().Byte(14).String(data).Take(); }

  Host::PrivateSocket socket{""};
  LongList keys;
  Ssh::Agent agent{keys};
  int stop[2] = {-1, -1};
  std::thread thread;
};

TEST_F(Server, AnswersAClientInTheOrderOfItsMessages) {
  Start();
  AgentClient client(socket.Path());
  Bytes all;
  for (const char* data : {"one", "two", "three"}) {
    const Bytes framed = Ssh::Writer().String(Signed(data)).Take();
    all.insert(all.end(), framed.begin(), framed.end());
  }
  ASSERT_TRUE(client.SendRaw(all));
  for (const char* data : {"one", "two", "three"}) EXPECT_EQ(client.Receive(), SignatureOf(data));
}

TEST_F(Server, TakesAMessageThatComesByteByByte) {
  Start();
  AgentClient client(socket.Path());
  for (const uint8_t byte : Ssh::Writer().String(Signed("slow")).Take()) ASSERT_TRUE(client.SendRaw({byte}));
  EXPECT_EQ(client.Receive(), SignatureOf("slow"));
}

TEST_F(Server, TakesAMessageOfTheGreatestLengthAndNoLonger) {
  Start();
  AgentClient client(socket.Path());
  EXPECT_EQ(client.Ask(Bytes(Host::kLongestAgentMessage, 99)), Bytes{5});
  client.SendRaw(Ssh::Writer().Uint32(Host::kLongestAgentMessage + 1).Take());
  EXPECT_EQ(client.Receive(), std::nullopt);
  EXPECT_TRUE(Works());
}

TEST_F(Server, ClosesTheConnectionOfOneThatSendsGarbage) {
  Start();
  for (const Bytes& garbage : {Bytes{0, 0, 0, 0}, Bytes{0xFF, 0xFF, 0xFF, 0xFF}, Bytes{'G', 'E', 'T', ' ', '/'}}) {
    AgentClient client(socket.Path());
    client.SendRaw(garbage);
    EXPECT_EQ(client.Receive(), std::nullopt);
  }
  EXPECT_TRUE(Works());
}

TEST_F(Server, OutlivesClientsThatLeaveInTheMiddle) {
  Start();
  for (int i = 0; i < 300; ++i) {
    AgentClient client(socket.Path());
    client.SendRaw(i % 3 == 0 ? Bytes{0, 0, 1} : i % 3 == 1 ? Bytes{0, 0, 1, 0, 13} : Bytes{0, 0, 0, 1, 11});
  }
  EXPECT_TRUE(Works());
}

TEST_F(Server, ServesOthersWhileOneDoesNotReadItsAnswers) {
  Start();
  AgentClient deaf(socket.Path());
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(deaf.Send({11}));
  EXPECT_TRUE(Works());
  for (int i = 0; i < 100; ++i) ASSERT_EQ(deaf.Receive()->size(), (1u << 20) + 4 + 1 + 4 + 4 + 19);
}

TEST_F(Server, TurnsAwayOneProcessThatConnectsTooOftenAndNotItsNeighbour) {
  Start();
  std::vector<std::unique_ptr<AgentClient>> clients;
  for (size_t i = 0; i < Host::kAgentClientsOfAProcess; ++i)
    clients.push_back(std::make_unique<AgentClient>(socket.Path()));
  EXPECT_EQ(clients.back()->Ask(Signed("x")), SignatureOf("x"));
  EXPECT_FALSE(Works());
  const pid_t neighbour = fork();
  if (neighbour == 0) _exit(Works() ? 0 : 1);
  int status = 0;
  waitpid(neighbour, &status, 0);
  EXPECT_EQ(status, 0);
  clients.pop_back();
  EXPECT_TRUE(Works());
}

TEST_F(Server, TurnsAwayOtherUsers) {
  Start(geteuid() + 1);
  AgentClient client(socket.Path());
  EXPECT_EQ(client.Ask({11}), std::nullopt);
}

TEST_F(Server, IsOutOfReachOfAnotherUserAndTurnsOneAwayWhoReachesIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  Start();
  const std::string path = socket.Path();
  EXPECT_TRUE(AsNobody([&] {
    try {
      const AgentClient client(path);
      return false;
    } catch (const std::runtime_error&) {
      return true;
    }
  }));
  ASSERT_EQ(chmod(std::filesystem::path(path).parent_path().c_str(), 0755), 0);
  ASSERT_EQ(chmod(path.c_str(), 0666), 0);
  EXPECT_TRUE(AsNobody([&] { return AgentClient(path).Ask({11}) == std::nullopt; }));
  EXPECT_TRUE(Works());
}

}  // namespace
