#include "log/FuncScope.h"

#include <exception>
#include <utility>

namespace QELLog {

LogExitReason LoggerImpl::FuncScope::GetCurrentExceptionStatus() {
  return std::uncaught_exceptions() > 0 ? LogExitReason::ExceptionInFlight : LogExitReason::Normal;
}

LoggerImpl::FuncScopeDefault::FuncScopeDefault(std::shared_ptr<LoggerImpl> impl, LogLevel level, const char* file,
                                               int line, const char* function)
    : m_impl(std::move(impl)), m_level(level), m_file(file), m_line(line), m_function(function) {
  m_impl->Log(m_level, Text("Entering function "));
}

LoggerImpl::FuncScopeDefault::~FuncScopeDefault() {
  const bool inFlight = GetCurrentExceptionStatus() == LogExitReason::ExceptionInFlight;
  m_impl->Log(m_level,
              Text("Exiting function ") + (inFlight ? " while at least one exception is in flight" : " normally"));
}

std::string LoggerImpl::FuncScopeDefault::Text(const char* event) const {
  return std::string(event) + m_function + " at " + m_file + ":" + std::to_string(m_line);
}

}  // namespace QELLog
