#pragma once

#include <memory>
#include <string>

#include "log/QELLog.h"

namespace QELTok {

/// QELLog's sink for the token: writes through the token's log client. Any thread may log.
class QELLoggerImpl : public QELLog::LoggerImpl {
 public:
  class FuncScope;

  /// Writes `message`, which is UTF-8. Levels other than Fatal to Debug are dropped. Never throws: what cannot be
  /// written is lost.
  void Log(QELLog::LogLevel level, const std::string& message) override;

  /// Returns a scope that writes a line when it is made and one when it is destroyed. `file` and `function` are not
  /// copied. Throws std::bad_weak_ptr when this sink is not owned by a shared pointer.
  std::unique_ptr<QELLog::LoggerImpl::FuncScope> Enter(const char* file, int line, const char* function,
                                                       QELLog::LogLevel level) override;
};

/// Writes "Enter function F at FILE:LINE" when made and "Exit function F, entered at FILE:LINE", followed by how, when
/// destroyed.
class QELLoggerImpl::FuncScope : public QELLog::LoggerImpl::FuncScope {
 public:
  /// Keeps `impl` alive; `function` and `file` are not copied and must outlive the scope.
  FuncScope(const char* function, const char* file, int line, std::shared_ptr<QELLog::LoggerImpl> impl,
            QELLog::LogLevel level);

  /// An exception that the sink throws ends the process.
  ~FuncScope() override;

  /// Returns how a line says that the function was left for `reason`; empty for the normal way.
  static const char* ExitText(QELLog::LogExitReason reason);

 private:
  const char* m_function;
  const char* m_file;
  int m_line;
  std::shared_ptr<QELLog::LoggerImpl> m_impl;
  QELLog::LogLevel m_level;
};

}  // namespace QELTok
