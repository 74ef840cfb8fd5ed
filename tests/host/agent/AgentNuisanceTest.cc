// Clients that do what no good client does, again and again, while another one signs.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <ostream>

#include "host/agent/Server.h"
#include "tests/endurance/ResourceUsage.h"
#include "tests/host/agent/CardAgent.h"

namespace {

using Ssh::Bytes;
using std::chrono::steady_clock;

struct Nuisance {
  const char* name;
  /// Done again and again. `request` is one that the agent would answer with a signature.
  void (*once)(const std::string& socket, const Bytes& request);
};

void PrintTo(const Nuisance& nuisance, std::ostream* out) {
  *out << nuisance.name;
}

/// As many clients as the agent takes of one process.
std::vector<std::unique_ptr<AgentClient>> AsManyAsItTakes(const std::string& socket) {
  std::vector<std::unique_ptr<AgentClient>> clients;
  for (size_t i = 0; i < Host::kAgentClientsOfAProcess; ++i) clients.push_back(std::make_unique<AgentClient>(socket));
  return clients;
}

void LeaveInTheMiddle(const std::string& socket, const Bytes& request) {
  Bytes half = Ssh::Writer().String(request).Take();
  half.resize(half.size() / 2);
  AgentClient(socket).SendRaw(half);
}

void LeaveBeforeTheAnswer(const std::string& socket, const Bytes& request) {
  AgentClient(socket).Send(request);
}

void ConnectAndLeave(const std::string& socket, const Bytes&) {
  const AgentClient client(socket);
}

void ConnectAndStay(const std::string& socket, const Bytes&) {
  std::vector<std::unique_ptr<AgentClient>> clients;
  for (int i = 0; i < 500; ++i) clients.push_back(std::make_unique<AgentClient>(socket));
}

void SendGarbage(const std::string& socket, const Bytes& request) {
  AgentClient client(socket);
  client.SendRaw(request);  // without its length
  client.SendRaw(Bytes(1 << 16, 'x'));
  client.Receive();
}

void ClaimHugeLengths(const std::string& socket, const Bytes&) {
  for (const uint32_t length : {uint32_t{Host::kLongestAgentMessage} + 1, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    AgentClient client(socket);
    client.SendRaw(Ssh::Writer().Uint32(length).Take());
    client.SendRaw(Bytes(1 << 16));
    client.Receive();
  }
}

void SendWholeMessagesWithoutMeaning(const std::string& socket, const Bytes&) {
  AgentClient client(socket);
  for (int i = 0; i < 100; ++i) client.Ask(Bytes(Host::kLongestAgentMessage, 13));
}

void SendByteByByte(const std::string& socket, const Bytes& request) {
  const auto clients = AsManyAsItTakes(socket);
  for (const uint8_t byte : Ssh::Writer().String(request).Take()) {
    for (const auto& client : clients) client->SendRaw({byte});
    usleep(1000);
  }
}

void StopBeforeTheLastByte(const std::string& socket, const Bytes&) {
  const auto clients = AsManyAsItTakes(socket);
  Bytes most = Ssh::Writer().String(Bytes(Host::kLongestAgentMessage)).Take();
  most.pop_back();
  for (const auto& client : clients) client->SendRaw(most);
  pause();
}

void AskAndNeverRead(const std::string& socket, const Bytes&) {
  const auto clients = AsManyAsItTakes(socket);
  while (true)
    for (const auto& client : clients) client->Send({11});
}

void AskForSignaturesWithoutEnd(const std::string& socket, const Bytes& request) {
  const auto clients = AsManyAsItTakes(socket);
  while (true) {
    for (const auto& client : clients) client->Send(request);
    for (const auto& client : clients) client->Receive();
  }
}

/// A process that is a nuisance until this object goes.
class NuisanceProcess {
 public:
  NuisanceProcess(const Nuisance& nuisance, const std::string& socket, const Bytes& request) : m_process(fork()) {
    if (m_process != 0) {
      usleep(100000);  // until it is one
      return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) {
      try {
        nuisance.once(socket, request);
      } catch (const std::runtime_error&) {
        // It was turned away.
      }
    }
  }
  ~NuisanceProcess() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
  NuisanceProcess(const NuisanceProcess&) = delete;
  NuisanceProcess& operator=(const NuisanceProcess&) = delete;

 private:
  pid_t m_process;
};

/// The time that the slowest of the signatures of half a second took, each over a new connection; nothing when one did
/// not come.
std::optional<std::chrono::duration<double>> Slowest(const std::string& socket, const Bytes& request) {
  std::chrono::duration<double> slowest(0);
  for (const auto end = steady_clock::now() + std::chrono::milliseconds(500); steady_clock::now() < end;) {
    const auto start = steady_clock::now();
    if (!IsSigned(AgentClient(socket).Ask(request))) return std::nullopt;
    slowest = std::max(slowest, std::chrono::duration<double>(steady_clock::now() - start));
  }
  return slowest;
}

class AgentUnderNuisance : public ::testing::TestWithParam<Nuisance> {};

TEST_P(AgentUnderNuisance, SignsForAnotherClientWithoutAnErrorOrALongWaitAndKeepsNothing) {
  constexpr std::chrono::seconds kLongWait{5};
  CardAgent agent({"p256"});
  const pid_t process = agent.Process().ProcessId();
  const Bytes request = SignRequest(agent.KeyBlobs().at(0), "data", 0);
  const auto alone = Slowest(agent.Socket(), request);
  ASSERT_TRUE(alone);
  AgentClient control(agent.Socket());
  Settle(control);
  const int descriptors = OpenDescriptors(process);
  const double memory = ResidentMemory(process);
  {
    const NuisanceProcess nuisance(GetParam(), agent.Socket(), request);
    const auto beside = Slowest(agent.Socket(), request);
    ASSERT_TRUE(beside);
    std::cout << "slowest signature: " << alone->count() << " s alone, " << beside->count() << " s beside one that "
              << GetParam().name << "\n";
    EXPECT_LT(*beside, kLongWait);
  }
  // Connections that were still in the queue come and go.
  int timesInARow = 0;
  for (int attempt = 0; attempt < 200 && timesInARow < 5; ++attempt, usleep(25000))
    timesInARow = OpenDescriptors(process) == descriptors ? timesInARow + 1 : 0;
  EXPECT_EQ(timesInARow, 5) << OpenDescriptors(process) << " descriptors instead of " << descriptors;
  std::cout << "resident memory " << (ResidentMemory(process) - memory) / 1e6 << " MB more than before\n";
  EXPECT_TRUE(Slowest(agent.Socket(), request));
}

const Nuisance kNuisances[] = {
    {"leaves in the middle of a request", LeaveInTheMiddle},
    {"leaves before its answer", LeaveBeforeTheAnswer},
    {"connects and leaves", ConnectAndLeave},
    {"connects and stays", ConnectAndStay},
    {"sends garbage", SendGarbage},
    {"claims huge lengths", ClaimHugeLengths},
    {"sends long messages without meaning", SendWholeMessagesWithoutMeaning},
    {"sends byte by byte", SendByteByByte},
    {"stops before the last byte", StopBeforeTheLastByte},
    {"asks and never reads", AskAndNeverRead},
    {"asks for signatures without end", AskForSignaturesWithoutEnd},
};

INSTANTIATE_TEST_SUITE_P(, AgentUnderNuisance, ::testing::ValuesIn(kNuisances));

}  // namespace
