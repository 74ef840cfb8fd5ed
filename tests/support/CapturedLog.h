#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "log/QELLog.h"

/// Collects everything that is logged through QELLog during its lifetime, up to `threshold`, and puts back what was
/// installed before.
class CapturedLog {
 public:
  using Line = std::pair<QELLog::LogLevel, std::string>;

  explicit CapturedLog(QELLog::LogLevel threshold = QELLog::LogLevel::Debug);
  ~CapturedLog();
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  /// Level and text of every message, in order.
  std::vector<Line> Lines() const;

  /// The texts of one level.
  std::vector<std::string> Texts(QELLog::LogLevel level) const;
  std::vector<std::string> Errors() const { return Texts(QELLog::LogLevel::Error); }
  std::vector<std::string> Infos() const { return Texts(QELLog::LogLevel::Info); }

 private:
  class Sink;
  std::shared_ptr<Sink> m_sink;
  std::shared_ptr<QELLog::LoggerImpl> m_previous;
  QELLog::LogLevel m_previousLevel;
};

using LogLines = std::vector<CapturedLog::Line>;
using Texts = std::vector<std::string>;
inline constexpr auto kError = QELLog::LogLevel::Error;
inline constexpr auto kInfo = QELLog::LogLevel::Info;
