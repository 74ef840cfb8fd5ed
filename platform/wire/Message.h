/// The frames between the host and the extension's process, over a stream socket.
///
///     uint32 little endian   length of the header
///     uint32 little endian   length of the attachment
///     header                 JSON, an object
///     attachment             bytes: data to sign, a ciphertext, a peer's key, a PIN, a result
///
/// Each part has at most 16 MiB.

#pragma once

#include <chrono>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/wire/Attachment.h"

namespace Wire {

constexpr size_t MaximumPartLength = 16 * 1024 * 1024;

struct Message {
  nlohmann::json header = nlohmann::json::object();
  Attachment attachment;
};

/// The stream is of no further use.
class ProtocolError : public std::runtime_error {
 public:
  enum class Kind {
    Closed,     ///< the other side is gone and an answer is missing
    Truncated,  ///< the stream ended inside a frame
    TooLong,    ///< a part is longer than allowed
    Garbage,    ///< the header is not a JSON object, or lacks what its call needs
    TimedOut,   ///< nothing came in time
    System,     ///< a call of the system failed
  };
  ProtocolError(Kind kind, const std::string& what) : std::runtime_error(what), m_kind(kind) {}
  Kind kind() const { return m_kind; }

 private:
  Kind m_kind;
};

/// Sends `message` whole. Throws ProtocolError (Closed, TooLong, System); never raises SIGPIPE.
void Send(int socket, const Message& message);

/// Receives one message. Returns nothing when the other side closed the stream between two messages.
/// Throws ProtocolError (Truncated, TooLong, Garbage, TimedOut, System). `timeout` is for each wait; nothing: for ever.
std::optional<Message> Receive(int socket, std::optional<std::chrono::milliseconds> timeout = std::nullopt);

}  // namespace Wire
