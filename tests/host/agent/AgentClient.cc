#include "tests/host/agent/AgentClient.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>

AgentClient::AgentClient(const std::string& path) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const timeval patience = {30, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
  close(m_socket);
  throw std::runtime_error("nobody listens at " + path);
}

AgentClient::~AgentClient() {
  close(m_socket);
}

bool AgentClient::SendRaw(const Ssh::Bytes& bytes) {
  return send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

std::optional<Ssh::Bytes> AgentClient::Receive() {
  uint8_t length[4];
  if (!ReceiveExactly(length, sizeof length)) return std::nullopt;
  Ssh::Bytes message(Ssh::Uint32At(length));
  return ReceiveExactly(message.data(), message.size()) ? std::optional(message) : std::nullopt;
}

std::optional<Ssh::Bytes> AgentClient::Ask(const Ssh::Bytes& message) {
  return Send(message) ? Receive() : std::nullopt;
}

bool AgentClient::ReceiveExactly(uint8_t* bytes, size_t size) {
  return recv(m_socket, bytes, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}
