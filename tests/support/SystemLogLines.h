#pragma once

#include <os/log.h>

#include <string>
#include <vector>

#include "platform/testing/SystemLog.h"

/// What a captured system log holds, a text per line: "error: <text>" for an error-level line, "type <n>: <text>" for
/// any other, "NSLog: <text>" for NSLog's.
inline std::vector<std::string> SystemLogLines(const SystemLog::Captured& log) {
  std::vector<std::string> lines;
  for (const SystemLog::Line& line : log.Lines()) {
    const bool isError = line.type == OS_LOG_TYPE_ERROR;
    const std::string kind = isError ? "error" : "type " + std::to_string(line.type);
    lines.push_back((line.sink == SystemLog::Sink::NSLog ? "NSLog" : kind) + ": " + line.text);
  }
  return lines;
}
