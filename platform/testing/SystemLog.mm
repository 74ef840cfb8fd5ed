#include "platform/testing/SystemLog.h"

#import <Foundation/Foundation.h>
#include <os/log.h>

#include <mutex>

#import "platform/src/os/LogHooks.h"

namespace SystemLog {
namespace {

std::mutex s_mutex;
Captured *s_innermost = nullptr;
NSLog_printf_handler *s_systemHandler = nullptr;

/// Without the time, the process and the line's end that NSLog puts around the message.
std::string MessageOf(NSString *line) {
  NSString *message = line;
  const NSRange processEnd = [line rangeOfString:@"] "];
  if (processEnd.location != NSNotFound) {
    message = [line substringFromIndex:NSMaxRange(processEnd)];
  }
  if ([message hasSuffix:@"\n"]) {
    message = [message substringToIndex:[message length] - 1];
  }
  return [message UTF8String];
}

}  // namespace

struct Handlers {
  static void OSLogLine(os_log_type_t type, const char *text) { Captured::Append({Sink::OSLog, type, text}); }
  static void NSLogLine(NSString *line) { Captured::Append({Sink::NSLog, 0, MessageOf(line)}); }
};

Captured::Captured() {
  const std::lock_guard<std::mutex> lock(s_mutex);
  m_outer = s_innermost;
  s_innermost = this;
  if (!m_outer) {
    s_systemHandler = _NSLog_printf_handler;
    _NSLog_printf_handler = Handlers::NSLogLine;
    QELLogSetSink(Handlers::OSLogLine);
  }
}

Captured::~Captured() {
  const std::lock_guard<std::mutex> lock(s_mutex);
  s_innermost = m_outer;
  if (!m_outer) {
    _NSLog_printf_handler = s_systemHandler;
    QELLogSetSink(nullptr);
  }
}

void Captured::Append(Line line) {
  const std::lock_guard<std::mutex> lock(s_mutex);
  if (s_innermost) {
    s_innermost->m_lines.push_back(std::move(line));
  }
}

std::vector<Line> Captured::Lines() const {
  const std::lock_guard<std::mutex> lock(s_mutex);
  return m_lines;
}

std::vector<std::string> Captured::Texts() const {
  std::vector<std::string> texts;
  for (const Line &line : Lines()) {
    texts.push_back(line.text);
  }
  return texts;
}

ErrorLevelDisabled::ErrorLevelDisabled() {
  QELLogSetPredicate([](os_log_type_t type) { return type != OS_LOG_TYPE_ERROR; });
}

ErrorLevelDisabled::~ErrorLevelDisabled() {
  QELLogSetPredicate(nullptr);
}

}  // namespace SystemLog
