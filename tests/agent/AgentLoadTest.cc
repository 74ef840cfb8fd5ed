#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

#include "tests/agent/CardAgent.h"

namespace {

namespace fs = std::filesystem;

/// A number from /proc/PROCESS/status; -1 when it is not there.
long StatusOf(pid_t process, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
  return -1;
}

pid_t ChildOf(pid_t process) {
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (StatusOf(std::stoi(name), "PPid") == process) return std::stoi(name);
  }
  return -1;
}

struct Usage {
  long kilobytes = 0;
  long descriptors = 0;  ///< -1: not to be seen by this user

  explicit Usage(pid_t process) : kilobytes(StatusOf(process, "VmRSS")) {
    std::error_code hidden;
    for (auto entry = fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", hidden);
         !hidden && entry != fs::directory_iterator(); entry.increment(hidden))
      ++descriptors;
    if (hidden) descriptors = -1;
  }
};

class Load {
 public:
  explicit Load(const CardAgent& agent) : m_agent(agent), m_keys(agent.KeyBlobs()) {}

  /// Has `clients` at once ask for `each` signatures, over a new connection every 25. Returns how many came.
  int Run(int clients, int each) {
    std::vector<int> came(static_cast<size_t>(clients));
    std::vector<std::thread> threads;
    for (int client = 0; client < clients; ++client)
      threads.emplace_back([&, client] { came[static_cast<size_t>(client)] = RunClient(client, each); });
    for (std::thread& thread : threads) thread.join();
    int all = 0;
    for (const int count : came) all += count;
    return all;
  }

 private:
  int RunClient(int client, int count) const {
    std::unique_ptr<AgentClient> connection;
    int came = 0;
    for (int i = 0; i < count; ++i) {
      if (i % 25 == 0) connection = std::make_unique<AgentClient>(m_agent.Socket());
      const Ssh::Bytes& key = m_keys[static_cast<size_t>(client + i) % m_keys.size()];
      const std::string data = "client " + std::to_string(client) + ", message " + std::to_string(i);
      came += IsSigned(connection->Ask(SignRequest(key, data, i % 2 == 0 ? 2 : 4)));
    }
    return came;
  }

  const CardAgent& m_agent;
  std::vector<Ssh::Bytes> m_keys;
};

TEST(AgentLoad, AThousandSignaturesForEightClientsLeaveNoTrace) {
  CardAgent agent({"rsa2048", "p256", "p384"});
  Load load(agent);
  ASSERT_EQ(load.Run(8, 25), 200);  // until everything is in memory that is needed
  const pid_t host = agent.Process().ProcessId();
  const pid_t extension = ChildOf(host);
  ASSERT_GT(extension, 0);

  AgentClient control(agent.Socket());
  // Once it has served this client twice, the agent has seen that the others left.
  const auto settle = [&] { return control.Ask({11}) && control.Ask({11}); };
  ASSERT_TRUE(settle());
  const Usage hostBefore(host), extensionBefore(extension);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(load.Run(8, 125), 1000);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  ASSERT_TRUE(settle());
  const Usage hostAfter(host), extensionAfter(extension);

  std::cout << "1000 signatures in " << took.count() << " s; agent " << hostBefore.kilobytes << " -> "
            << hostAfter.kilobytes << " kB, descriptors " << hostBefore.descriptors << " -> " << hostAfter.descriptors
            << "; extension " << extensionBefore.kilobytes << " -> " << extensionAfter.kilobytes << " kB, descriptors "
            << extensionBefore.descriptors << " -> " << extensionAfter.descriptors << "\n";
  constexpr long kNoise = 512;  // kilobytes
  EXPECT_LE(hostAfter.kilobytes, hostBefore.kilobytes + kNoise);
  EXPECT_LE(extensionAfter.kilobytes, extensionBefore.kilobytes + kNoise);
  EXPECT_EQ(hostAfter.descriptors, hostBefore.descriptors);
  EXPECT_EQ(extensionAfter.descriptors, extensionBefore.descriptors);
  EXPECT_EQ(ChildOf(host), extension);
  EXPECT_EQ(agent.Process().Log().find("failed"), std::string::npos) << agent.Process().Log();
}

}  // namespace
