#include "log/QELLog.h"

#include <utility>

namespace QELLog {

namespace {

// Destroyed at exit, after every static that touched it while it was being built.
Logger& Global() {
  static Logger logger;
  return logger;
}

}  // namespace

std::atomic<LogLevel> Detail::g_threshold = LogLevel::None;

void SetLogger(LoggerImpl* impl) {
  SetLogger(std::shared_ptr<LoggerImpl>(impl));
}
void SetLogger(std::shared_ptr<LoggerImpl> impl) {
  Global().SetImpl(std::move(impl));
}
bool HasSetLogger() {
  return Global().HasSetImpl();
}
std::shared_ptr<LoggerImpl> GetLogger() {
  return Global().GetImpl();
}

void SetLevel(LogLevel level) {
  Global().SetLevel(level);
  Detail::g_threshold = Global().GetLevel();
}
LogLevel GetLevel() {
  return Global().GetLevel();
}

std::unique_ptr<LoggerImpl::FuncScope> Enter(const char* file, int line, const char* function, LogLevel level) {
  return Global().Enter(file, line, function, level);
}

LogStream Dynamic(LogLevel level) {
  return Global().Dynamic(level);
}

}  // namespace QELLog
