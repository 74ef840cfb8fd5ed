#include "tests/support/CapturedLog.h"

#include <mutex>

class CapturedLog::Sink : public QELLog::LoggerImpl {
 public:
  void Log(QELLog::LogLevel level, const std::string& text) override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.emplace_back(level, text);
  }

  std::vector<Line> Lines() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
  }

 private:
  std::mutex m_mutex;
  std::vector<Line> m_lines;
};

CapturedLog::CapturedLog(QELLog::LogLevel threshold)
    : m_sink(std::make_shared<Sink>()), m_previous(QELLog::GetLogger()), m_previousLevel(QELLog::GetLevel()) {
  QELLog::SetLogger(m_sink);
  QELLog::SetLevel(threshold);
}

CapturedLog::~CapturedLog() {
  QELLog::SetLogger(m_previous);
  QELLog::SetLevel(m_previousLevel);
}

std::vector<CapturedLog::Line> CapturedLog::Lines() const {
  return m_sink->Lines();
}

std::vector<std::string> CapturedLog::Texts(QELLog::LogLevel level) const {
  std::vector<std::string> texts;
  for (const Line& line : Lines()) {
    if (line.first == level) texts.push_back(line.second);
  }
  return texts;
}
