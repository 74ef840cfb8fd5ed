#include "host/agent/Server.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"
#include "host/base/PrivateSocket.h"

namespace Host {
namespace {

constexpr size_t kLengthSize = 4;
constexpr size_t kChunk = 16 * 1024;

bool IsOnlyNotReady() {
  return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

}  // namespace

AgentServer::~AgentServer() {
  for (const Connection& connection : m_connections) close(connection.socket);
}

void AgentServer::Run(int stop, const Followed& cards) {
  while (true) {
    std::vector<pollfd> waited = {{stop, POLLIN, 0}, {m_listener, POLLIN, 0}};
    for (const int descriptor : cards.descriptors) waited.push_back({descriptor, POLLIN, 0});
    const size_t firstClient = waited.size();
    for (const Connection& connection : m_connections)
      waited.push_back({connection.socket, static_cast<short>(connection.answer.empty() ? POLLIN : POLLOUT), 0});
    if (poll(waited.data(), waited.size(), -1) < 0) {
      if (errno == EINTR) continue;
      throw Failure(ExitStatus::Failed, std::string("waiting for clients failed: ") + std::strerror(errno));
    }
    if (waited[0].revents != 0) return;

    const auto clients = waited.begin() + static_cast<std::ptrdiff_t>(firstClient);
    if (std::any_of(waited.begin() + 2, clients, [](const pollfd& one) { return one.revents != 0; })) cards.changed();

    size_t index = firstClient;
    for (auto connection = m_connections.begin(); connection != m_connections.end(); ++index) {
      if (waited[index].revents == 0 || Serve(*connection)) {
        ++connection;
      } else {
        close(connection->socket);
        connection = m_connections.erase(connection);
      }
    }
    if (waited[1].revents != 0) Accept();
  }
}

void AgentServer::Accept() {
  const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (socket < 0) return;
  pid_t process = 0;
  if (IsWelcome(socket, &process)) {
    m_connections.push_back({socket, process, {}, {}});
  } else {
    close(socket);
  }
}

bool AgentServer::IsWelcome(int socket, pid_t* process) const {
  const std::optional<Peer> peer = PeerOf(socket);
  if (!peer || peer->user != m_owner) return false;
  *process = peer->process;
  const auto ofThatProcess = std::count_if(m_connections.begin(), m_connections.end(),
                                           [&](const Connection& other) { return other.process == peer->process; });
  return m_connections.size() < kAgentClients && static_cast<size_t>(ofThatProcess) < kAgentClientsOfAProcess;
}

bool AgentServer::Serve(Connection& connection) {
  if (!connection.answer.empty()) return Send(connection);

  SecretBytes& request = connection.request;
  const bool hasLength = request.size() >= kLengthSize;
  const size_t whole = kLengthSize + (hasLength ? Ssh::Uint32At(request.data()) : 0);
  uint8_t chunk[kChunk];
  const ssize_t got = recv(connection.socket, chunk, std::min(sizeof chunk, whole - request.size()), 0);
  if (got < 0) return IsOnlyNotReady();
  if (got == 0) return false;
  request.insert(request.end(), chunk, chunk + got);
  explicit_bzero(chunk, static_cast<size_t>(got));

  if (request.size() < whole) return true;
  if (!hasLength) {
    const uint32_t length = Ssh::Uint32At(request.data());
    return length > 0 && length <= kLongestAgentMessage;
  }
  const Ssh::View message = {request.data() + kLengthSize, request.size() - kLengthSize};
  connection.answer = Ssh::Writer().String(m_agent.Answer(message)).Take();
  SecretBytes().swap(request);
  return Send(connection);
}

bool AgentServer::Send(Connection& connection) {
  Ssh::Bytes& answer = connection.answer;
  const ssize_t sent = send(connection.socket, answer.data(), answer.size(), MSG_NOSIGNAL);
  if (sent < 0) return IsOnlyNotReady();
  answer.erase(answer.begin(), answer.begin() + sent);
  return true;
}

}  // namespace Host
