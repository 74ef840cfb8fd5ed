#pragma once

#include <memory>
#include <optional>
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

  /// Makes a stream that is live when `impl` is not empty; the sink is kept alive until the stream ends.
  LogStream(std::shared_ptr<LoggerImpl> impl, LogLevel level);

  /// Makes a dead stream.
  explicit LogStream(LogLevel level) noexcept : m_level(level) {}

  LogStream(LogStream&& other) = default;  // leaves `other` dead
  LogStream& operator=(LogStream&&) = delete;

  /// Hands the text to the sink; an exception that the sink throws ends the process.
  ~LogStream() {
    if (m_impl) Send();
  }

  /// Inserts as into std::ostream, when live.
  template <typename T>
  LogStream& operator<<(const T& value) {
    if (m_impl) *m_text << value;
    return *this;
  }

  /// Inserts std::endl and its like, whose type cannot be deduced.
  LogStream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    if (m_impl) *m_text << manipulator;
    return *this;
  }

 private:
  void Send() noexcept;

  std::shared_ptr<LoggerImpl> m_impl;
  LogLevel m_level;
  std::optional<std::ostringstream> m_text;  // made for live streams only: a string stream is costly to build
};

}  // namespace QELLog
