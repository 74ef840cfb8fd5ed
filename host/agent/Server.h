#pragma once

#include <sys/types.h>

#include <functional>
#include <list>
#include <vector>

#include "host/agent/Protocol.h"
#include "host/agent/SecretBytes.h"

namespace Host {

/// The longest message of a client, in bytes without its length.
constexpr size_t kLongestAgentMessage = 256 * 1024;
constexpr size_t kAgentClients = 128;
/// Of one process, so that none keeps the others out.
constexpr size_t kAgentClientsOfAProcess = 32;

/// What the agent follows beside its clients.
struct Followed {
  std::vector<int> descriptors;
  std::function<void()> changed;  ///< called when one can be read from; it is to read
};

/// Serves the clients of an agent, one message of each in turn. A client's messages are answered in their order; one
/// that breaks the framing, sends too long a message or does not read its answers costs nobody but itself.
class AgentServer {
 public:
  /// `listener` is a listening, non-blocking Unix socket. Clients of other users than `owner` are turned away.
  AgentServer(int listener, uid_t owner, Ssh::Agent& agent) : m_listener(listener), m_owner(owner), m_agent(agent) {}
  ~AgentServer();
  AgentServer(const AgentServer&) = delete;
  AgentServer& operator=(const AgentServer&) = delete;

  /// Returns once `stop` can be read from. Throws Failure when waiting is not possible, and what `cards` throw.
  void Run(int stop, const Followed& cards = {});

 private:
  struct Connection {
    int socket;
    pid_t process;
    SecretBytes request;  ///< what came of the next one, its length first
    Ssh::Bytes answer;    ///< what has not been sent
  };

  void Accept();
  bool IsWelcome(int socket, pid_t* process) const;
  /// Does what `connection` is ready for. Returns false when it is over.
  bool Serve(Connection& connection);
  static bool Send(Connection& connection);

  int m_listener;
  uid_t m_owner;
  Ssh::Agent& m_agent;
  std::list<Connection> m_connections;
};

}  // namespace Host
