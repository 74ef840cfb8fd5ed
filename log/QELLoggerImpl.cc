#include "log/QELLoggerImpl.h"

#include <utility>

#include "log/TokenLog.h"
#include "util/QELIconv.h"

namespace QELTok {

void QELLoggerImpl::Log(QELLog::LogLevel level, const std::string& message) {
  const LogClient* const client = TokenLogClient();
  if (!client || level < QELLog::LogLevel::Fatal || level > QELLog::LogLevel::Secret) return;
  try {
    const std::wstring text = QELIconv::MultiByte2WideChar(message, "UTF-8");
    static constexpr void (LogClient::*kWrite[])(const wchar_t*) const = {
        &LogClient::Fatal, &LogClient::Error, &LogClient::Warning,
        &LogClient::Info,  &LogClient::Debug, &LogClient::Secret,
    };
    (client->*kWrite[static_cast<int>(level) - 1])(text.c_str());
  } catch (...) {
    // No converter, for example when the process is out of file descriptors.
  }
}

std::unique_ptr<QELLog::LoggerImpl::FuncScope> QELLoggerImpl::Enter(const char* file, int line, const char* function,
                                                                    QELLog::LogLevel level) {
  return std::make_unique<FuncScope>(function, file, line, shared_from_this(), level);
}

QELLoggerImpl::FuncScope::FuncScope(const char* function, const char* file, int line,
                                    std::shared_ptr<QELLog::LoggerImpl> impl, QELLog::LogLevel level)
    : m_function(function), m_file(file), m_line(line), m_impl(std::move(impl)), m_level(level) {
  m_impl->Log(m_level, std::string("Enter function ") + m_function + " at " + m_file + ":" + std::to_string(m_line));
}

QELLoggerImpl::FuncScope::~FuncScope() {
  m_impl->Log(m_level, std::string("Exit function ") + m_function + ", entered at " + m_file + ":" +
                           std::to_string(m_line) + ExitText(GetCurrentExceptionStatus()));
}

const char* QELLoggerImpl::FuncScope::ExitText(QELLog::LogExitReason reason) {
  switch (reason) {
    case QELLog::LogExitReason::ExceptionInFlight:
      return ", while an exception is in flight";
    case QELLog::LogExitReason::Exception:
      return ", via exception";
    case QELLog::LogExitReason::Normal:
      break;
  }
  return "";
}

}  // namespace QELTok
