#pragma once

#include <sys/time.h>

#include <cstdint>
#include <string>

#include "log/LogInterface.h"
#include "log/LogProvider.h"

inline constexpr uint64_t kLogFileRecordMagic = 1029623037;

/// The log provider that appends lines to a file, and a logger of it. The file is opened and closed for every line, so
/// it may be moved or deleted at any time. A line reaches the file with one write: lines of several threads and
/// processes stay whole. A line that cannot be written is lost, silently. Any thread may call.
class QEL_LogImpl_File : public LogRecord<QEL_LogImpl_File, kLogFileRecordMagic> {
 public:
  using LogLevel = int;  ///< 0 off, 1 fatal, 2 error, 3 warning, 4 info, 5 debug

  /// Sets path and level of loggers made later; existing ones keep theirs. Unless the level is 0, also
  /// sets the process's locale, for all categories, whose encoding the file gets; "" is the environment's. A character
  /// that the encoding lacks is written as a question mark.
  static void Configure(const char* path, LogLevel level, const char* locale);

  /// Fills `target` with this provider's functions; a null pointer is ignored.
  static void GetInterface(QEL_LogInterface* target);

  /// Makes a logger with the configured level and path. A null or empty name is replaced by "null".
  explicit QEL_LogImpl_File(const wchar_t* name);

  /// Appends "2024-03-05 07:08:09,045 [412-0] INFO  NAME - MESSAGE" with the local time, the process id and what
  /// QELUtils::gettid returns, when the logger's level admits `level`.
  void Write(LogLevel level, const wchar_t* message) const;

 private:
  struct Configuration {
    LogLevel level = 0;
    std::string path;
  };
  struct Provider;

  /// The state of the process, made on first use.
  static Provider& TheProvider();
  /// Returns both, as one Configure set them.
  static Configuration CurrentConfiguration();
  QEL_LogImpl_File(Configuration configuration, const wchar_t* name);

  /// Returns the line. Under the provider's mutex only.
  std::wstring Format(const timeval& now, LogLevel level, const wchar_t* message) const;

  std::string m_path;
  std::wstring m_name;
};
