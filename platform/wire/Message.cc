#include "platform/wire/Message.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>

namespace Wire {
namespace {

using Kind = ProtocolError::Kind;

constexpr size_t PrefixLength = 8;

[[noreturn]] void FailedCall(const char* call) {
  throw ProtocolError(Kind::System, std::string(call) + ": " + std::strerror(errno));
}

/// Throws a ProtocolError of that kind when `part` is longer than allowed.
void RequireAllowedLength(const char* part, size_t length, Kind kind) {
  if (length > MaximumPartLength) {
    throw ProtocolError(kind, std::string(part) + " of " + std::to_string(length) + " bytes, allowed are " +
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

bool IsUnlimited(const Patience& patience) {
  return !patience.deadline && patience.stop < 0 && patience.process < 0;
}

/// Milliseconds for poll(), so that it does not return before the deadline.
int LeftUntil(const Patience& patience) {
  using namespace std::chrono;
  if (!patience.deadline) {
    return -1;
  }
  const auto left = ceil<milliseconds>(*patience.deadline - steady_clock::now());
  return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, std::numeric_limits<int>::max()));
}

/// Waits until `socket` is ready for `events`. Returns false when its other side's process ended before.
bool WaitFor(int socket, short events, const Patience& patience) {
  std::array<pollfd, 3> waited = {{{socket, events, 0}, {patience.stop, POLLIN, 0}, {patience.process, POLLIN, 0}}};
  const int ready = poll(waited.data(), waited.size(), LeftUntil(patience));
  if (ready < 0 && errno != EINTR) {
    FailedCall("poll");
  }
  if (ready == 0) {
    throw ProtocolError(Kind::TimedOut, "no answer in time");
  }
  if (ready > 0 && waited[1].revents != 0) {
    throw ProtocolError(Kind::Stopped, "the wait was stopped");
  }
  return ready < 0 || waited[0].revents != 0;
}

bool IsNotReady() {
  return errno == EAGAIN || errno == EWOULDBLOCK;
}

int FlagsFor(const Patience& patience) {
  return IsUnlimited(patience) ? 0 : MSG_DONTWAIT;
}

/// Sends both parts in one call where the system takes them at once: every call may wake the other side.
void SendParts(int socket, std::array<iovec, 2> parts, const Patience& patience) {
  size_t remaining = parts[0].iov_len + parts[1].iov_len;
  while (remaining > 0) {
    msghdr message = {};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL | FlagsFor(patience));
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent < 0 && IsNotReady() && WaitFor(socket, POLLOUT, patience)) {
      continue;
    }
    if (sent < 0 && (IsNotReady() || errno == EPIPE || errno == ECONNRESET)) {
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

/// Returns how many bytes came before the end of the stream.
size_t ReceiveBytes(int socket, uint8_t* to, size_t length, const Patience& patience) {
  size_t received = 0;
  while (received < length) {
    const ssize_t got = recv(socket, to + received, length - received, FlagsFor(patience));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0 && IsNotReady() && WaitFor(socket, POLLIN, patience)) {
      continue;
    }
    // A peer that died with unread input resets the stream: an end like any other.
    if (got == 0 || (got < 0 && (IsNotReady() || errno == ECONNRESET))) {
      break;
    }
    if (got < 0) {
      FailedCall("recv");
    }
    received += static_cast<size_t>(got);
  }
  return received;
}

/// The header in `text`. What is beyond the limits is given up while it is read, before it takes more memory.
nlohmann::json HeaderFrom(const std::string& text) {
  using Event = nlohmann::json::parse_event_t;
  size_t values = 0;
  const auto check = [&](int depth, Event event, nlohmann::json& parsed) {
    const bool starts = event == Event::object_start || event == Event::array_start;
    if (starts && depth >= MaximumDepth) {
      throw ProtocolError(Kind::Garbage, "the header is nested too deep");
    }
    if (++values > MaximumValues) {
      throw ProtocolError(Kind::Garbage, "the header has too many values");
    }
    // No message has numbers with a fraction, and making an integer of a large one is undefined.
    if (parsed.is_number_float()) {
      parsed = nullptr;
    }
    return true;
  };
  nlohmann::json header = nlohmann::json::parse(text, check, false);
  if (!header.is_object()) {
    throw ProtocolError(Kind::Garbage, "the header is not a JSON object");
  }
  return header;
}

std::string TextOf(const nlohmann::json& header) {
  return header.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void RequireWhole(const char* part, size_t received, size_t length) {
  if (received < length) {
    throw ProtocolError(Kind::Truncated, std::string("the stream ended after ") + std::to_string(received) + " of " +
                                             std::to_string(length) + " bytes of the " + part);
  }
}

}  // namespace

bool Fits(const Message& message) {
  return message.attachment.size() <= MaximumPartLength && TextOf(message.header).size() <= MaximumPartLength;
}

void Send(int socket, const Message& message, const Patience& patience) {
  const std::string header = TextOf(message.header);
  RequireAllowedLength("header", header.size(), Kind::TooLong);
  RequireAllowedLength("attachment", message.attachment.size(), Kind::TooLong);
  std::string front(PrefixLength, '\0');
  StoreLength(reinterpret_cast<uint8_t*>(front.data()), header.size());
  StoreLength(reinterpret_cast<uint8_t*>(front.data()) + 4, message.attachment.size());
  front += header;
  auto* attachment = const_cast<uint8_t*>(message.attachment.data());
  SendParts(socket, {{{front.data(), front.size()}, {attachment, message.attachment.size()}}}, patience);
}

std::optional<Message> Receive(int socket, const Patience& patience) {
  std::array<uint8_t, PrefixLength> prefix = {};
  const size_t received = ReceiveBytes(socket, prefix.data(), prefix.size(), patience);
  if (received == 0) {
    return std::nullopt;
  }
  RequireWhole("frame's lengths", received, prefix.size());
  const size_t headerLength = LoadLength(prefix.data());
  const size_t attachmentLength = LoadLength(prefix.data() + 4);
  RequireAllowedLength("header", headerLength, Kind::Garbage);
  RequireAllowedLength("attachment", attachmentLength, Kind::Garbage);

  std::string header(headerLength, '\0');
  auto* headerBytes = reinterpret_cast<uint8_t*>(header.data());
  RequireWhole("header", ReceiveBytes(socket, headerBytes, header.size(), patience), header.size());
  Message message = {HeaderFrom(header), Attachment(attachmentLength)};
  RequireWhole("attachment", ReceiveBytes(socket, message.attachment.data(), attachmentLength, patience),
               attachmentLength);
  return message;
}

}  // namespace Wire
