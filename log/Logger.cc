#include "log/Logger.h"

#include <utility>

namespace QELLog {

void Logger::SetImpl(std::shared_ptr<LoggerImpl> impl) {
  std::atomic_store(&m_impl, std::move(impl));
}

std::shared_ptr<LoggerImpl> Logger::GetImpl() const {
  return std::atomic_load(&m_impl);
}

std::shared_ptr<LoggerImpl> Logger::GetImplMut() {
  return GetImpl();
}

bool Logger::HasSetImpl() const {
  return GetImpl() != nullptr;
}

void Logger::SetLevel(LogLevel level) {
  if (CheckLevel(level, true)) m_level = level;
}

std::unique_ptr<LoggerImpl::FuncScope> Logger::Enter(const char* file, int line, const char* function,
                                                     LogLevel level) const {
  if (!CheckLevel(level, false) || m_level < level) return nullptr;
  const auto impl = GetImpl();
  return impl ? impl->Enter(file, line, function, level) : nullptr;
}

LogStream Logger::Dynamic(LogLevel level) const {
  if (!CheckLevel(level, false)) return LogStream(LogLevel::Error);
  if (level == LogLevel::Secret || m_level < level) return LogStream(level);
  return LogStream(GetImpl(), level);
}

LogStream Logger::Fatal() const {
  return Dynamic(LogLevel::Fatal);
}
LogStream Logger::Error() const {
  return Dynamic(LogLevel::Error);
}
LogStream Logger::Warning() const {
  return Dynamic(LogLevel::Warning);
}
LogStream Logger::Info() const {
  return Dynamic(LogLevel::Info);
}
LogStream Logger::Debug() const {
  return Dynamic(LogLevel::Debug);
}
LogStream Logger::Secret() const {
  return Dynamic(LogLevel::Secret);
}

bool Logger::CheckLevel(LogLevel level, bool blanketLevelsValid) const {
  const bool valid =
      blanketLevelsValid ? level <= LogLevel::All : level >= LogLevel::Fatal && level <= LogLevel::Secret;
  if (!valid) {
    Error() << "Invalid LogLevel specified: " << static_cast<int>(level) << ". blanketLevelsValid: " << std::boolalpha
            << blanketLevelsValid;
  }
  return valid;
}

}  // namespace QELLog
