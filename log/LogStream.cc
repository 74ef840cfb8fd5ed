#include "log/LogStream.h"

#include <utility>

namespace QELLog {

bool LogStream::IsLive() const {
  return m_impl != nullptr;
}

LogStream::LogStream(std::shared_ptr<LoggerImpl> impl, LogLevel level) : m_impl(std::move(impl)), m_level(level) {
  if (m_impl) m_text.emplace();
}

void LogStream::Send() noexcept {
  m_impl->Log(m_level, m_text->str());
}

}  // namespace QELLog
