#pragma once

#include <cstdint>
#include <string>

#include "log/LogInterface.h"
#include "log/LogProvider.h"

inline constexpr uint64_t kLogCallbackRecordMagic = 716047771;

/// The log provider that hands messages to a function of the host, and a logger of it. Any thread may call; putting the
/// messages of several threads in order is the function's business.
class QEL_LogImpl_Callback : public LogRecord<QEL_LogImpl_Callback, kLogCallbackRecordMagic> {
 public:
  enum class LogLevel : int { Off = 0, Fatal = 1, Error = 2, Warning = 3, Info = 4, Debug = 5 };

  /// Receives one message, in the default narrow encoding of QELIconv; the texts live until it returns. No lock is held
  /// meanwhile.
  using Callback = void (*)(LogLevel level, const char* name, const char* message);

  /// Sets callback (nullptr: none) and level of loggers made later; existing ones keep theirs. Unless the level is Off,
  /// also sets the process's locale, for all categories.
  static void Configure(Callback callback, LogLevel level, const char* locale);

  /// Fills `target` with this provider's functions; a null pointer is ignored.
  static void GetInterface(QEL_LogInterface* target);

  /// Makes a logger with the configured callback and level. Throws when `name` is null or the default narrow encoding
  /// is unknown.
  explicit QEL_LogImpl_Callback(const wchar_t* name);

  /// Returns whether messages of `level` are written.
  bool IsLevel(LogLevel level) const { return LogRecord::IsLevel(static_cast<int>(level)); }

  /// Calls the callback when there is one and the logger's level admits `level`. Throws when the default narrow
  /// encoding is unknown.
  void Write(LogLevel level, const wchar_t* message) const;

  /// Returns "FATAL", "ERROR", "WARN", "INFO" or "DEBUG", "???" for Off and what is no level.
  static std::string LogLevelToString(LogLevel level);

 private:
  struct Configuration {
    Callback callback;
    LogLevel level;
  };

  /// Returns both, as one Configure set them.
  static Configuration CurrentConfiguration();
  QEL_LogImpl_Callback(const Configuration& configuration, const wchar_t* name);

  static Callback s_callback;
  static LogLevel s_level;

  std::string m_name;
  Callback m_callback;
};
