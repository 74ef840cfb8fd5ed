#pragma once

#include <cstdint>

#include "log/LogInterface.h"

/// Returns "FATAL", "ERROR", "WARN", "INFO" or "DEBUG" for the provider levels 1 to 5, "???" for any other.
const char* LogProviderLevelName(int level);

/// Runs `make` and stores what it returns. Returns 1, or 0 when there is nowhere to store it or `make` threw.
int CreateLogger(HLOGGER (*make)(const wchar_t* name), const wchar_t* name, HLOGGER* logger);

/// How a provider's logger object begins: the words by which a handle is recognised, and the level, fixed at creation.
/// `Impl` is the provider's class, which derives from this.
template <typename Impl, uint64_t kMagic>
class LogRecord {
 public:
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;

  /// Returns the logger behind `handle`, nullptr when it is null or not a logger of this provider.
  static Impl* FromHandle(HLOGGER handle) {
    auto* const record = static_cast<LogRecord*>(handle);
    const bool valid = record && record->m_size == sizeof(Impl) && record->m_magic == kMagic;
    return valid ? static_cast<Impl*>(record) : nullptr;
  }

  /// Returns this logger's handle, which is its address.
  HLOGGER ToHandle() { return this; }

  /// Returns whether messages of `level` are written.
  bool IsLevel(int level) const { return m_level >= level; }

 protected:
  explicit LogRecord(int level) : m_level(level) {}
  ~LogRecord() = default;

 private:
  uint64_t m_size = sizeof(Impl);
  uint64_t m_magic = kMagic;
  int m_level;
};

/// The twelve functions of a provider whose loggers are objects of `Impl`, which has a type LogLevel and functions
/// IsLevel and Write that take one.
template <typename Impl>
struct LogProviderSlots {
  using Level = typename Impl::LogLevel;

  /// The first and second slot: see QEL_LogInterface.
  static int Create(const wchar_t* name, HLOGGER* logger) {
    return CreateLogger([](const wchar_t* n) { return (new Impl(n))->ToHandle(); }, name, logger);
  }
  static void Destroy(HLOGGER logger) { delete Impl::FromHandle(logger); }

  /// The query of one level.
  template <int kLevel>
  static int Is(HLOGGER logger) {
    const Impl* const impl = Impl::FromHandle(logger);
    return impl && impl->IsLevel(static_cast<Level>(kLevel)) ? 1 : 0;
  }

  /// The writing of one level; a null message writes nothing.
  template <int kLevel>
  static void Write(HLOGGER logger, const wchar_t* message) {
    const Impl* const impl = Impl::FromHandle(logger);
    if (impl && message) impl->Write(static_cast<Level>(kLevel), message);
  }

  /// Fills `target`; a null pointer is ignored.
  static void Fill(QEL_LogInterface* target) {
    if (!target) return;
    *target = {Create,   Destroy,                              //
               Is<1>,    Is<2>,    Is<3>,    Is<4>,    Is<5>,  //
               Write<1>, Write<2>, Write<3>, Write<4>, Write<5>};
  }
};
