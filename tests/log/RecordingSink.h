#pragma once

#include <string>
#include <vector>

#include "log/QELLog.h"

/// A sink that keeps what reaches it, for one thread, and tells when it dies.
class RecordingSink : public QELLog::LoggerImpl {
 public:
  struct Line {
    QELLog::LogLevel level;
    std::string text;
    bool operator==(const Line& other) const { return level == other.level && text == other.text; }
  };

  explicit RecordingSink(bool* died = nullptr) : m_died(died) {}
  ~RecordingSink() override {
    if (m_died != nullptr) *m_died = true;
  }

  void Log(QELLog::LogLevel level, const std::string& text) override { lines.push_back({level, text}); }

  std::vector<Line> lines;

 private:
  bool* m_died;
};

inline std::ostream& operator<<(std::ostream& out, const RecordingSink::Line& line) {
  return out << line.level << ": " << line.text;
}

using Lines = std::vector<RecordingSink::Line>;
