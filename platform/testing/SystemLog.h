/// The system log as tests see it. Plain C++; one test at a time.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace SystemLog {

enum class Sink { OSLog, NSLog };

struct Line {
  Sink sink;
  uint8_t type;  ///< OS_LOG_TYPE_..., 0 for NSLog
  std::string text;
};

/// Captures what os_log and NSLog write, from any thread, from construction to destruction; nothing of it is written
/// elsewhere meanwhile. The innermost of several gets the lines.
class Captured {
 public:
  Captured();
  ~Captured();
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  /// In the order of their writing. NSLog's without the time and process in front.
  std::vector<Line> Lines() const;

  /// Only the lines' texts.
  std::vector<std::string> Texts() const;

 private:
  static void Append(Line line);
  friend struct Handlers;

  std::vector<Line> m_lines;
  Captured* m_outer;
};

/// While it lives, os_log_type_enabled answers false for OS_LOG_TYPE_ERROR.
class ErrorLevelDisabled {
 public:
  ErrorLevelDisabled();
  ~ErrorLevelDisabled();
  ErrorLevelDisabled(const ErrorLevelDisabled&) = delete;
  ErrorLevelDisabled& operator=(const ErrorLevelDisabled&) = delete;
};

}  // namespace SystemLog
