#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

#include "tests/endurance/ResourceUsage.h"
#include "tests/host/agent/CardAgent.h"

namespace {

constexpr int kClients = 8;
constexpr int kWarmUp = 25;  // signatures of each client, until everything is in memory that is needed
constexpr int kEach = 125;
constexpr int kAll = kClients * kEach;

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kMemoryIsTheSanitizers = true;  // it keeps freed memory back; leaks are what it finds itself
#else
constexpr bool kMemoryIsTheSanitizers = false;
#endif

pid_t OnlyChildOf(pid_t process) {
  const std::string number = std::to_string(process);
  pid_t child = -1;
  std::ifstream("/proc/" + number + "/task/" + number + "/children") >> child;
  return child;
}

/// What an agent and its extension's process take, over a run of signatures.
class Resources {
 public:
  explicit Resources(CardAgent& agent)
      : m_agent(agent),
        m_processes{{"agent", agent.Process().ProcessId()}, {"extension", OnlyChildOf(agent.Process().ProcessId())}} {}

  void Begin() {
    Settle(m_control);
    for (Process& process : m_processes) {
      process.descriptors = OpenDescriptors(process.id);
      process.before = ResidentMemory(process.id);
    }
    Sample(0);
    m_start = std::chrono::steady_clock::now();
  }

  void Sample(int signatures) {
    for (Process& process : m_processes) process.memory.Add(signatures, ResidentMemory(process.id));
  }

  /// Prints what was taken, and expects that nothing of it stays.
  void End() {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
    Settle(m_control);
    Sample(kAll);
    std::cout << kAll << " signatures in " << took.count() << " s\n";
    for (const Process& process : m_processes) {
      const int descriptors = OpenDescriptors(process.id);
      std::cout << process.memory.Describe(process.name, "signature") << ", descriptors " << process.descriptors
                << " -> " << descriptors << "\n";
      EXPECT_EQ(descriptors, process.descriptors) << process.name;
      EXPECT_GT(descriptors, 0) << process.name;
      if (!kMemoryIsTheSanitizers) EXPECT_LE(ResidentMemory(process.id), process.before + kNoise) << process.name;
    }
    EXPECT_EQ(OnlyChildOf(m_processes[0].id), m_processes[1].id) << "the extension was started again";
    const std::string log = m_agent.Process().Log();
    EXPECT_EQ(log.find("failed"), std::string::npos) << log;
    // Under a sanitizer: not if it found a leak.
    EXPECT_EQ(m_agent.Process().Stop(), 0) << m_agent.Process().Log();
  }

 private:
  static constexpr double kNoise = 512 * 1024;  // bytes; 500 to a signature would be as many

  struct Process {
    const char* name;
    pid_t id;
    int descriptors = 0;
    double before = 0;
    Slope memory{1000};
  };

  CardAgent& m_agent;
  AgentClient m_control{m_agent.Socket()};
  Process m_processes[2];
  std::chrono::steady_clock::time_point m_start;
};

/// Clients of an agent that all ask at once.
class Load {
 public:
  explicit Load(const CardAgent& agent) : m_agent(agent), m_keys(agent.KeyBlobs()) {}

  /// Has each client ask for `each` signatures, over a new connection every 25, and tells `watch` every now and then
  /// how many came. Returns how many came.
  int Run(
      int each, const std::function<void(int)>& watch = [](int) {}) {
    std::atomic<int> came{0}, left{kClients};
    std::vector<std::thread> threads;
    for (int client = 0; client < kClients; ++client)
      threads.emplace_back([&, client] {
        RunClient(client, each, came);
        --left;
      });
    for (; left > 0; usleep(20000)) watch(came);
    for (std::thread& thread : threads) thread.join();
    return came;
  }

 private:
  void RunClient(int client, int count, std::atomic<int>& came) const {
    std::unique_ptr<AgentClient> connection;
    for (int i = 0; i < count; ++i) {
      if (i % 25 == 0) connection = std::make_unique<AgentClient>(m_agent.Socket());
      const Ssh::Bytes& key = m_keys[static_cast<size_t>(client + i) % m_keys.size()];
      const std::string data = "client " + std::to_string(client) + ", message " + std::to_string(i);
      if (IsSigned(connection->Ask(SignRequest(key, data, i % 2 == 0 ? 2 : 4)))) ++came;
    }
  }

  const CardAgent& m_agent;
  std::vector<Ssh::Bytes> m_keys;
};

TEST(AgentLoad, AThousandSignaturesForEightClientsLeaveNoTrace) {
  CardAgent agent({"rsa2048", "p256", "p384"});
  Load load(agent);
  ASSERT_EQ(load.Run(kWarmUp), kClients * kWarmUp);
  Resources resources(agent);
  resources.Begin();
  EXPECT_EQ(load.Run(kEach, [&](int came) { resources.Sample(came); }), kAll);
  resources.End();
}

/// Has eight shells call ssh-keygen `each` times, at once. Returns how many signatures they made.
int SignWithOpenSsh(const CardAgent& agent, const std::vector<std::string>& keys, int each) {
  const std::string script =
      "for i in $(seq $2); do \"$0\" -q -Y sign -n file -f \"$1\" < \"$3\" && echo made; done 2>&1 | grep -c made";
  std::vector<ChildResult> results(kClients);
  std::vector<std::thread> threads;
  for (size_t client = 0; client < kClients; ++client)
    threads.emplace_back([&, client] {
      results[client] = agent.Run("/bin/sh", {"-c", script, QEL_SSH_KEYGEN, keys[client % keys.size()],
                                              std::to_string(each), agent.Card().Path("message")});
    });
  int made = 0;
  for (std::thread& thread : threads) thread.join();
  for (const ChildResult& result : results) made += std::stoi("0" + result.output);
  return made;
}

TEST(AgentLoad, AThousandSignaturesForEightOfOpenSshsProgramsLeaveNoTrace) {
  CardAgent agent({"rsa2048", "p256", "p384"});
  const std::vector<std::string> keys = agent.KeyFiles();
  ASSERT_EQ(SignWithOpenSsh(agent, keys, kWarmUp), kClients * kWarmUp);
  Resources resources(agent);
  resources.Begin();
  EXPECT_EQ(SignWithOpenSsh(agent, keys, kEach), kAll);
  resources.End();
}

}  // namespace
