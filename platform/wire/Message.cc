#include "platform/wire/Message.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace Wire {
namespace {

using Kind = ProtocolError::Kind;

constexpr size_t PrefixLength = 8;

[[noreturn]] void FailedCall(const char* call) {
  throw ProtocolError(Kind::System, std::string(call) + ": " + std::strerror(errno));
}

void RequireAllowedLength(const char* part, size_t length) {
  if (length > MaximumPartLength) {
    throw ProtocolError(Kind::TooLong, std::string(part) + " of " + std::to_string(length) + " bytes, allowed are " +
                                           std::to_string(MaximumPartLength));
  }
}

void StoreLength(uint8_t* to, size_t length) {
  for (int i = 0; i < 4; ++i) {
    to[i] = static_cast<uint8_t>(length >> (8 * i));
  }
}

size_t LoadLength(const uint8_t* from) {
  size_t length = 0;
  for (int i = 0; i < 4; ++i) {
    length |= static_cast<size_t>(from[i]) << (8 * i);
  }
  return length;
}

/// Sends both parts in one call where the system takes them at once: every call may wake the other side.
void SendParts(int socket, std::array<iovec, 2> parts) {
  size_t remaining = parts[0].iov_len + parts[1].iov_len;
  while (remaining > 0) {
    msghdr message = {};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent < 0 && (errno == EPIPE || errno == ECONNRESET)) {
      throw ProtocolError(Kind::Closed, "the other side is gone");
    }
    if (sent < 0) {
      FailedCall("sendmsg");
    }
    remaining -= static_cast<size_t>(sent);
    size_t skipped = static_cast<size_t>(sent);
    for (iovec& part : parts) {
      const size_t taken = std::min(skipped, part.iov_len);
      part.iov_base = static_cast<uint8_t*>(part.iov_base) + taken;
      part.iov_len -= taken;
      skipped -= taken;
    }
  }
}

void WaitForInput(int socket, std::chrono::milliseconds timeout) {
  pollfd wait = {socket, POLLIN, 0};
  int ready = -1;
  do {
    ready = poll(&wait, 1, static_cast<int>(timeout.count()));
  } while (ready < 0 && errno == EINTR);
  if (ready < 0) {
    FailedCall("poll");
  }
  if (ready == 0) {
    throw ProtocolError(Kind::TimedOut, "no answer in " + std::to_string(timeout.count()) + " ms");
  }
}

/// Returns how many bytes came before the end of the stream.
size_t ReceiveBytes(int socket, uint8_t* to, size_t length, std::optional<std::chrono::milliseconds> timeout) {
  size_t received = 0;
  while (received < length) {
    const ssize_t got = recv(socket, to + received, length - received, timeout ? MSG_DONTWAIT : 0);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0 && timeout && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      WaitForInput(socket, *timeout);
      continue;
    }
    // A peer that died with unread input resets the stream: an end like any other.
    if (got == 0 || (got < 0 && errno == ECONNRESET)) {
      break;
    }
    if (got < 0) {
      FailedCall("recv");
    }
    received += static_cast<size_t>(got);
  }
  return received;
}

/// Turns numbers with a fraction into nulls: no message has any, and making an integer of a large one is undefined.
bool WithoutFractions(int, nlohmann::json::parse_event_t, nlohmann::json& parsed) {
  if (parsed.is_number_float()) {
    parsed = nullptr;
  }
  return true;
}

void RequireWhole(const char* part, size_t received, size_t length) {
  if (received < length) {
    throw ProtocolError(Kind::Truncated, std::string("the stream ended after ") + std::to_string(received) + " of " +
                                             std::to_string(length) + " bytes of the " + part);
  }
}

}  // namespace

void Send(int socket, const Message& message) {
  using json = nlohmann::json;
  const std::string header = message.header.dump(-1, ' ', false, json::error_handler_t::replace);
  RequireAllowedLength("header", header.size());
  RequireAllowedLength("attachment", message.attachment.size());
  std::string front(PrefixLength, '\0');
  StoreLength(reinterpret_cast<uint8_t*>(front.data()), header.size());
  StoreLength(reinterpret_cast<uint8_t*>(front.data()) + 4, message.attachment.size());
  front += header;
  auto* attachment = const_cast<uint8_t*>(message.attachment.data());
  SendParts(socket, {{{front.data(), front.size()}, {attachment, message.attachment.size()}}});
}

std::optional<Message> Receive(int socket, std::optional<std::chrono::milliseconds> timeout) {
  std::array<uint8_t, PrefixLength> prefix = {};
  const size_t received = ReceiveBytes(socket, prefix.data(), prefix.size(), timeout);
  if (received == 0) {
    return std::nullopt;
  }
  RequireWhole("frame's lengths", received, prefix.size());
  const size_t headerLength = LoadLength(prefix.data());
  const size_t attachmentLength = LoadLength(prefix.data() + 4);
  RequireAllowedLength("header", headerLength);
  RequireAllowedLength("attachment", attachmentLength);

  std::string header(headerLength, '\0');
  auto* headerBytes = reinterpret_cast<uint8_t*>(header.data());
  RequireWhole("header", ReceiveBytes(socket, headerBytes, header.size(), timeout), header.size());
  Message message = {nlohmann::json::parse(header, WithoutFractions, false), Attachment(attachmentLength)};
  if (!message.header.is_object()) {
    throw ProtocolError(Kind::Garbage, "the header is not a JSON object");
  }
  RequireWhole("attachment", ReceiveBytes(socket, message.attachment.data(), attachmentLength, timeout),
               attachmentLength);
  return message;
}

}  // namespace Wire
