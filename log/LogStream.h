#pragma once

#include <memory>
#include <ostream>
#include <sstream>

#include "log/LoggerImpl.h"

namespace QELLog {

/// One message under construction, for the length of one statement: a live stream collects what is inserted and hands
/// the text to its sink when it dies; a dead one ignores everything and costs neither memory nor formatting.
class LogStream {
 public:
  /// Returns whether insertions go anywhere, which is whether the stream holds a sink. Stays the first virtual
  /// function.
  virtual bool IsLive() const;

  /// Makes a stream that is live when `impl` is not empty and there is memory for a message; the sink is kept alive
  /// until the stream ends.
  LogStream(std::shared_ptr<LoggerImpl> impl, LogLevel level);

  /// Makes a dead stream.
  explicit LogStream(LogLevel) noexcept {}

  LogStream(LogStream&& other) = default;  // leaves `other` dead
  LogStream& operator=(LogStream&&) = delete;

  /// Hands the text to the sink; an exception that the sink throws ends the process.
  ~LogStream() {
    if (m_message) Send();
  }

  /// Inserts as into std::ostream, when live.
  template <typename T>
  LogStream& operator<<(const T& value) {
    if (m_message) m_message->text << value;
    return *this;
  }

  /// Inserts std::endl and its like, whose type cannot be deduced.
  LogStream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    if (m_message) m_message->text << manipulator;
    return *this;
  }

 private:
  struct Message {
    std::shared_ptr<LoggerImpl> impl;
    LogLevel level;
    std::ostringstream text;
  };

  /// Gives the message to its sink. An exception that escapes ends the process.
  void Send() noexcept;

  // A dead stream is a null pointer, which the compiler sees through: its insertions vanish.
  std::unique_ptr<Message> m_message;
};

}  // namespace QELLog
