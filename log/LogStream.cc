#include "log/LogStream.h"

#include <new>
#include <utility>

namespace QELLog {

bool LogStream::IsLive() const {
  return m_message != nullptr;
}

LogStream::LogStream(std::shared_ptr<LoggerImpl> impl, LogLevel level) {
  if (impl) m_message.reset(new (std::nothrow) Message{std::move(impl), level, {}});
}

void LogStream::Send() noexcept {
  m_message->impl->Log(m_message->level, m_message->text.str());
}

}  // namespace QELLog
