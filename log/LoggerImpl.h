#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "log/LogLevel.h"

namespace QELLog {

/// How a traced function was left.
enum class LogExitReason : uint8_t {
  ExceptionInFlight = 0,  ///< some exception is in flight while the scope ends
  Exception = 1,          ///< an exception left the function; never produced here, concrete scopes have a text for it
  Normal = 2,
};

/// The sink that messages end in. Owned by a shared pointer; called from any thread, serialises its own output.
class LoggerImpl : public std::enable_shared_from_this<LoggerImpl> {
 public:
  class FuncScope;
  class FuncScopeDefault;

  LoggerImpl() = default;
  LoggerImpl(const LoggerImpl&) = delete;
  LoggerImpl& operator=(const LoggerImpl&) = delete;

  // The order of the virtual functions is part of the contract.

  /// Writes one finished message. An exception that escapes ends the process.
  virtual void Log(LogLevel level, const std::string& message) = 0;

  /// Traces one function: the caller keeps the result until it leaves. `file` and `function` are not copied.
  /// Throws std::bad_weak_ptr when this sink is not owned by a shared pointer.
  virtual std::unique_ptr<FuncScope> Enter(const char* file, int line, const char* function, LogLevel level);

  virtual ~LoggerImpl() = default;

  /// Returns "2024-03-05 07:08:09,045 [412-0] Debug: ", or the chosen pieces of it: local time, process and
  /// thread, level. The thread is what QELUtils::gettid returns.
  std::string MakePrefix(LogLevel level, bool withTime, bool withProcess, bool withLevel) const;
};

}  // namespace QELLog

#include "log/FuncScope.h"  // what Enter returns must be complete wherever it is called
