#include "log/QEL_LogImpl_Callback.h"

#include <clocale>
#include <mutex>
#include <stdexcept>

#include "util/QELIconv.h"

QEL_LogImpl_Callback::Callback QEL_LogImpl_Callback::s_callback = nullptr;
QEL_LogImpl_Callback::LogLevel QEL_LogImpl_Callback::s_level = LogLevel::Off;

namespace {

/// Guards the callback and the level, together.
std::mutex& TheMutex() {
  static std::mutex mutex;
  return mutex;
}

std::string Narrow(const wchar_t* text) {
  if (!text) throw std::invalid_argument("a logger needs a name");
  return QELIconv::WideChar2String(text);
}

}  // namespace

void QEL_LogImpl_Callback::Configure(Callback callback, LogLevel level, const char* locale) {
  const std::lock_guard<std::mutex> lock(TheMutex());
  s_callback = callback;
  s_level = level;
  if (level != LogLevel::Off) std::setlocale(LC_ALL, locale);
}

void QEL_LogImpl_Callback::GetInterface(QEL_LogInterface* target) {
  LogProviderSlots<QEL_LogImpl_Callback>::Fill(target);
}

QEL_LogImpl_Callback::Configuration QEL_LogImpl_Callback::CurrentConfiguration() {
  const std::lock_guard<std::mutex> lock(TheMutex());
  return {s_callback, s_level};
}

QEL_LogImpl_Callback::QEL_LogImpl_Callback(const wchar_t* name) : QEL_LogImpl_Callback(CurrentConfiguration(), name) {}

QEL_LogImpl_Callback::QEL_LogImpl_Callback(const Configuration& configuration, const wchar_t* name)
    : LogRecord(static_cast<int>(configuration.level)), m_name(Narrow(name)), m_callback(configuration.callback) {}

void QEL_LogImpl_Callback::Write(LogLevel level, const wchar_t* message) const {
  if (IsLevel(level) && m_callback) {
    m_callback(level, m_name.c_str(), QELIconv::WideChar2String(message).c_str());
  }
}

std::string QEL_LogImpl_Callback::LogLevelToString(LogLevel level) {
  return LogProviderLevelName(static_cast<int>(level));
}
