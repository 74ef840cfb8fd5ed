#pragma once

#include <atomic>
#include <memory>

#include "log/LogLevel.h"
#include "log/LogStream.h"
#include "log/Logger.h"
#include "log/LoggerImpl.h"

/// The process-wide logger that everything writes to:
///
///     QELLog::Error() << "Slots found: " << count;
///     const auto scope = QELLog::Enter(__FILE__, __LINE__, __func__, QELLog::LogLevel::Debug);
///
/// Until a sink is set and the threshold raised above None, every call is a cheap no-op. Any thread may call anything
/// here; logging never fails a caller.
namespace QELLog {

/// Installs `impl` and takes ownership of it (plain delete). A null pointer removes the sink.
void SetLogger(LoggerImpl* impl);
/// Installs `impl`, atomically; an empty pointer removes the sink.
void SetLogger(std::shared_ptr<LoggerImpl> impl);
/// Returns whether there is a sink.
bool HasSetLogger();
/// Returns the sink, empty when there is none.
std::shared_ptr<LoggerImpl> GetLogger();

/// Sets the threshold, None and All included; an invalid one is logged and ignored.
void SetLevel(LogLevel level);
/// Returns the threshold.
LogLevel GetLevel();

/// Traces a function, see Logger::Enter. `file` and `function` are not copied: pass literals.
std::unique_ptr<LoggerImpl::FuncScope> Enter(const char* file, int line, const char* function, LogLevel level);

/// Returns the stream of one message of `level`, see Logger::Dynamic.
LogStream Dynamic(LogLevel level);

namespace Detail {

/// What GetLevel returns, for statements to look at where they stand: most are not admitted, and then cost only that.
extern std::atomic<LogLevel> g_threshold;

/// Returns the stream of one message of `level`; a dead one, at once, when the level is not admitted.
/// Returns the stream of one message of `level`, which is no Secret.
inline LogStream StreamOf(LogLevel level) {
  return g_threshold.load(std::memory_order_relaxed) < level ? LogStream(level) : Dynamic(level);
}

}  // namespace Detail

/// Return the stream of one message of this level.
inline LogStream Fatal() {
  return Detail::StreamOf(LogLevel::Fatal);
}
inline LogStream Error() {
  return Detail::StreamOf(LogLevel::Error);
}
inline LogStream Warning() {
  return Detail::StreamOf(LogLevel::Warning);
}
inline LogStream Info() {
  return Detail::StreamOf(LogLevel::Info);
}
inline LogStream Debug() {
  return Detail::StreamOf(LogLevel::Debug);
}
/// Returns a dead stream at every threshold: secrets are never written.
inline LogStream Secret() {
  return LogStream(LogLevel::Secret);
}

}  // namespace QELLog
