#pragma once

#include <memory>
#include <string>

#include "log/LoggerImpl.h"

namespace QELLog {

/// One run of a traced function: made when it is entered, destroyed when it is left.
class LoggerImpl::FuncScope {
 public:
  FuncScope() = default;
  FuncScope(const FuncScope&) = delete;
  FuncScope& operator=(const FuncScope&) = delete;
  virtual ~FuncScope() = default;

  /// Returns ExceptionInFlight while any exception is in flight on this thread, else Normal.
  static LogExitReason GetCurrentExceptionStatus();
};

/// Writes "Entering function F at FILE:LINE" when made and "Exiting function F at FILE:LINE", followed by how, when
/// destroyed.
class LoggerImpl::FuncScopeDefault : public LoggerImpl::FuncScope {
 public:
  /// Keeps `impl` alive; `file` and `function` are not copied and must outlive the scope.
  FuncScopeDefault(std::shared_ptr<LoggerImpl> impl, LogLevel level, const char* file, int line, const char* function);

  /// An exception that the sink throws ends the process.
  ~FuncScopeDefault() override;

 private:
  std::string Text(const char* event) const;

  std::shared_ptr<LoggerImpl> m_impl;
  LogLevel m_level;
  const char* m_file;
  int m_line;
  const char* m_function;
};

}  // namespace QELLog
