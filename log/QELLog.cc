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
LogStream Fatal() {
  return Global().Fatal();
}
LogStream Error() {
  return Global().Error();
}
LogStream Warning() {
  return Global().Warning();
}
LogStream Info() {
  return Global().Info();
}
LogStream Debug() {
  return Global().Debug();
}
LogStream Secret() {
  return Global().Secret();
}

}  // namespace QELLog
