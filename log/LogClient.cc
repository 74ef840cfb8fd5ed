#include "log/LogClient.h"

#include <cwchar>
#include <iterator>
#include <string>

#include "log/InstalledInterface.h"

namespace {

/// Does what may fail: logging never fails a caller, whatever the provider throws or the memory lacks.
template <typename Body>
void Try(Body&& body) noexcept {
  try {
    body();
  } catch (...) {
  }
}

/// Returns the name under which the provider knows the logger; empty when there is to be none.
std::wstring FullName(const std::wstring& name, const std::wstring& prefix) {
  if (name.empty()) return name;
  if (name.front() == L'.') return name.substr(1);
  return prefix.empty() ? name : prefix + L"." + name;
}

}  // namespace

LogClient::LogClient(const wchar_t* name) {
  Try([&] {
    const InstalledInterface::Copy installed = InstalledInterface::Get();
    m_interface = installed.interface;
    if (!name || !m_interface.create) return;

    const std::wstring fullName = FullName(name, installed.prefix);
    HLOGGER logger = nullptr;
    if (!fullName.empty() && m_interface.create(fullName.c_str(), &logger)) m_logger = logger;
  });
}

LogClient::~LogClient() {
  if (m_logger && m_interface.destroy) Try([&] { m_interface.destroy(m_logger); });
}

void LogClient::Fatal(const wchar_t* message) const {
  Write(&QEL_LogInterface::fatal, message);
}
void LogClient::Error(const wchar_t* message) const {
  Write(&QEL_LogInterface::error, message);
}
void LogClient::Warning(const wchar_t* message) const {
  Write(&QEL_LogInterface::warning, message);
}
void LogClient::Info(const wchar_t* message) const {
  Write(&QEL_LogInterface::info, message);
}
void LogClient::Debug(const wchar_t* message) const {
  Write(&QEL_LogInterface::debug, message);
}

// The five differ in the slot alone; va_start binds them to functions of their own.
#define QEL_DEFINE_FORMATTED(NAME, SLOT)                        \
  void LogClient::NAME(const wchar_t* format, ...) const {      \
    va_list arguments;                                          \
    va_start(arguments, format);                                \
    WriteFormatted(&QEL_LogInterface::SLOT, format, arguments); \
    va_end(arguments);                                          \
  }
QEL_DEFINE_FORMATTED(FatalFormat, fatal)
QEL_DEFINE_FORMATTED(ErrorFormat, error)
QEL_DEFINE_FORMATTED(WarningFormat, warning)
QEL_DEFINE_FORMATTED(InfoFormat, info)
QEL_DEFINE_FORMATTED(DebugFormat, debug)
#undef QEL_DEFINE_FORMATTED

int LogClient::IsFatal() const {
  return Query(&QEL_LogInterface::isFatal);
}
int LogClient::IsError() const {
  return Query(&QEL_LogInterface::isError);
}
int LogClient::IsWarning() const {
  return Query(&QEL_LogInterface::isWarning);
}
int LogClient::IsInfo() const {
  return Query(&QEL_LogInterface::isInfo);
}
int LogClient::IsDebug() const {
  return Query(&QEL_LogInterface::isDebug);
}

int LogClient::Query(QuerySlot slot) const {
  const auto query = m_interface.*slot;
  int answer = 0;
  if (m_logger && query) Try([&] { answer = query(m_logger); });
  return answer;
}

bool LogClient::Has(WriteSlot slot) const {
  return m_logger && m_interface.*slot;
}

void LogClient::Write(WriteSlot slot, const wchar_t* message) const {
  if (Has(slot)) Try([&] { (m_interface.*slot)(m_logger, message); });
}

void LogClient::WriteFormatted(WriteSlot slot, const wchar_t* format, va_list arguments) const {
  if (!Has(slot)) return;
  wchar_t text[4096];
  const int length = std::vswprintf(text, std::size(text), format, arguments);
  Write(slot, length > 0 ? text : L"Message too long.");
}
