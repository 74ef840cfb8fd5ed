/// The frames between the host and the extension's process, over a stream socket.
///
///     uint32 little endian   length of the header
///     uint32 little endian   length of the attachment
///     header                 JSON, an object
///     attachment             bytes: data to sign, a ciphertext, a peer's key, a PIN, a result
///
/// Each part has at most 16 MiB. A header is nested at most 16 deep and has at most 200,000 keys and values: more comes
/// from nobody who means well.

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
constexpr int MaximumDepth = 16;
constexpr size_t MaximumValues = 200000;

struct Message {
  nlohmann::json header = nlohmann::json::object();
  Attachment attachment;
};

/// The stream is of no further use, unless the message was only too long to be sent.
class ProtocolError : public std::runtime_error {
 public:
  enum class Kind {
    Closed,     ///< the other side is gone and an answer is missing
    Truncated,  ///< the stream ended inside a frame
    TooLong,    ///< a part of what was to be sent is longer than allowed; nothing was sent, and the stream is as it was
    Garbage,    ///< the header is not a JSON object, is beyond its limits, or lacks what its call needs
    TimedOut,   ///< not all of it came in time
    Stopped,    ///< whoever waited was told to stop
    System,     ///< a call of the system failed
  };
  ProtocolError(Kind kind, const std::string& what) : std::runtime_error(what), m_kind(kind) {}
  Kind kind() const { return m_kind; }

 private:
  Kind m_kind;
};

/// What ends the waiting for the other side. By default nothing but the end of the stream does.
struct Patience {
  std::optional<std::chrono::steady_clock::time_point> deadline;  ///< for a message as a whole
  int stop = -1;     ///< a descriptor: waiting ends when it can be read from
  int process = -1;  ///< the other side's process descriptor: once it has ended, only what has come already counts
};

/// Whether the parts of `message` are as short as Send wants them.
bool Fits(const Message& message);

/// Sends `message` whole. Throws ProtocolError (Closed, TooLong, TimedOut, Stopped, System). Never raises SIGPIPE.
void Send(int socket, const Message& message, const Patience& patience = {});

/// Receives one message. Returns nothing when the other side closed the stream between two messages.
/// Throws ProtocolError (Truncated, Garbage, TimedOut, Stopped, System).
std::optional<Message> Receive(int socket, const Patience& patience = {});

}  // namespace Wire
