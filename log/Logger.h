#pragma once

#include <memory>

#include "log/LogLevel.h"
#include "log/LogStream.h"
#include "log/LoggerImpl.h"

namespace QELLog {

/// A sink and a threshold: messages whose level is at most the threshold reach the sink. Any thread may log and replace
/// the sink; the threshold is a plain byte, a race on it only decides whether a message is written.
class Logger {
 public:
  constexpr Logger() = default;
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  /// Replaces the sink, atomically. Streams and scopes made earlier keep the old one alive until they end.
  void SetImpl(std::shared_ptr<LoggerImpl> impl);
  /// Returns the sink, empty when there is none.
  std::shared_ptr<LoggerImpl> GetImpl() const;
  /// Returns what GetImpl returns.
  std::shared_ptr<LoggerImpl> GetImplMut();
  /// Returns whether there is a sink.
  bool HasSetImpl() const;

  /// Sets the threshold, None and All included; an invalid one is logged and ignored.
  void SetLevel(LogLevel level);
  /// Returns the threshold.
  LogLevel GetLevel() const { return m_level; }

  /// Traces a function: keep the result in a local until it returns. Empty when `level` is not admitted, is invalid
  /// (logged) or no sink is set. Throws std::bad_weak_ptr on a sink that no shared pointer owns.
  std::unique_ptr<LoggerImpl::FuncScope> Enter(const char* file, int line, const char* function, LogLevel level) const;

  /// Returns the stream of one message. Dead when `level` is not admitted, is Secret, is invalid (logged) or no sink is
  /// set.
  LogStream Dynamic(LogLevel level) const;
  /// Return the stream of one message of this level; Secret's is dead at every threshold.
  LogStream Fatal() const;
  LogStream Error() const;
  LogStream Warning() const;
  LogStream Info() const;
  LogStream Debug() const;
  LogStream Secret() const;

  /// Returns whether `level` may be a threshold (`blanketLevelsValid`: None to All) or the level of one message (Fatal
  /// to Secret); logs at Error when not.
  bool CheckLevel(LogLevel level, bool blanketLevelsValid) const;

 private:
  std::shared_ptr<LoggerImpl> m_impl;  // only through the atomic shared-pointer operations
  LogLevel m_level = LogLevel::None;
};

}  // namespace QELLog
