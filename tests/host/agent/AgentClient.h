#pragma once

#include <optional>
#include <string>

#include "host/agent/Encoding.h"

/// One connection to an agent, for messages that no well-behaved program sends. Waits at most half a minute.
class AgentClient {
 public:
  /// Throws std::runtime_error when nobody listens at `path`.
  explicit AgentClient(const std::string& path);
  ~AgentClient();
  AgentClient(const AgentClient&) = delete;
  AgentClient& operator=(const AgentClient&) = delete;

  /// Sends `bytes` as they are. Returns whether all were taken.
  bool SendRaw(const Ssh::Bytes& bytes);
  /// Sends `message` with its length.
  bool Send(const Ssh::Bytes& message) { return SendRaw(Ssh::Writer().String(message).Take()); }
  /// The next message; nothing when the agent closed the connection.
  std::optional<Ssh::Bytes> Receive();
  std::optional<Ssh::Bytes> Ask(const Ssh::Bytes& message);

 private:
  bool ReceiveExactly(uint8_t* bytes, size_t size);

  int m_socket;
};
