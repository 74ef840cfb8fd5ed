#include "softcard/program/VirtualCard.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace SoftCard {
namespace {

int Connect(uint16_t port) {
  const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (made >= 0 && connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return made;
  const int reason = errno;
  close(made);
  throw std::runtime_error("no virtual reader at port " + std::to_string(port) + ": " + std::strerror(reason) +
                           "; it is there while pcscd runs with the driver of vsmartcard-vpcd");
}

/// Fills `bytes`. Returns false when the reader let go.
bool Receive(int reader, std::vector<uint8_t>& bytes) {
  return bytes.empty() || recv(reader, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

void Answer(int reader, std::initializer_list<uint8_t> bytes) {
  std::vector<uint8_t> frame = {0, static_cast<uint8_t>(bytes.size())};
  frame.insert(frame.end(), bytes);
  send(reader, frame.data(), frame.size(), MSG_NOSIGNAL);
}

}  // namespace

void PlayVirtualCard(uint16_t port, const std::function<void()>& inserted) {
  // A message is its length in two bytes and a command for the card; one byte alone is the reader's own: 4 asks for the
  // ATR, the others switch the card on and off and want no answer.
  constexpr uint8_t kAtr = 4;
  const int reader = Connect(port);
  inserted();
  std::vector<uint8_t> length(2), message;
  while (Receive(reader, length)) {
    message.resize(static_cast<size_t>(length[0]) << 8 | length[1]);
    if (!Receive(reader, message)) break;
    if (message.size() > 1) Answer(reader, {0x6D, 0x00});
    if (message.size() == 1 && message[0] == kAtr) Answer(reader, {0x3B, 0x00});
  }
  close(reader);
}

}  // namespace SoftCard
