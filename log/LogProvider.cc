#include "log/LogProvider.h"

const char* LogProviderLevelName(int level) {
  static constexpr const char* kNames[] = {"FATAL", "ERROR", "WARN", "INFO", "DEBUG"};
  return level >= 1 && level <= 5 ? kNames[level - 1] : "???";
}

int CreateLogger(HLOGGER (*make)(const wchar_t* name), const wchar_t* name, HLOGGER* logger) {
  if (!logger) return 0;
  try {
    *logger = make(name);
    return 1;
  } catch (...) {
    return 0;
  }
}
