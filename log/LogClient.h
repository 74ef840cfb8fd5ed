#pragma once

#include <cstdarg>

#include "log/LogInterface.h"

/// One named logger of the provider that was installed when the client was made. Any thread may write. Without a logger
/// every write does nothing and every level is off; logging never fails a caller.
class LogClient {
 public:
  /// Makes the logger `name`, under the installed prefix and a dot when there is one. A name that begins with "." is
  /// absolute: it is used without the dot and without the prefix. A null or empty name and "." make no logger.
  explicit LogClient(const wchar_t* name);
  LogClient(const LogClient&) = delete;
  LogClient& operator=(const LogClient&) = delete;
  /// Destroys the logger.
  ~LogClient();

  /// Write one message as it is.
  void Fatal(const wchar_t* message) const;
  void Error(const wchar_t* message) const;
  void Warning(const wchar_t* message) const;
  void Info(const wchar_t* message) const;
  void Debug(const wchar_t* message) const;
  /// Does nothing: secrets are never written.
  void Secret(const wchar_t*) const {}

  /// Write one message, formatted as wprintf does. A text that is empty, longer than 4095 characters or cannot be
  /// formatted is replaced by "Message too long.".
  void FatalFormat(const wchar_t* format, ...) const;
  void ErrorFormat(const wchar_t* format, ...) const;
  void WarningFormat(const wchar_t* format, ...) const;
  void InfoFormat(const wchar_t* format, ...) const;
  void DebugFormat(const wchar_t* format, ...) const;

  /// Return whether messages of this level are written: 1 or 0.
  int IsFatal() const;
  int IsError() const;
  int IsWarning() const;
  int IsInfo() const;
  int IsDebug() const;
  /// Returns false: secrets are never written.
  bool IsSecret() const { return false; }

 private:
  using QuerySlot = int (*QEL_LogInterface::*)(HLOGGER);
  using WriteSlot = void (*QEL_LogInterface::*)(HLOGGER, const wchar_t*);

  int Query(QuerySlot slot) const;
  bool Has(WriteSlot slot) const;
  void Write(WriteSlot slot, const wchar_t* message) const;
  void WriteFormatted(WriteSlot slot, const wchar_t* format, va_list arguments) const;

  HLOGGER m_logger = nullptr;
  QEL_LogInterface m_interface{};
};
