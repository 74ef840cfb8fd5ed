#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace QELLog {

/// Severity of a message, and threshold of a logger. The numbers are part of the log providers' contract.
enum class LogLevel : uint8_t {
  None = 0,  ///< threshold only: nothing is written
  Fatal = 1,
  Error = 2,
  Warning = 3,
  Info = 4,
  Debug = 5,
  Secret = 6,  ///< never written, whatever the threshold
  All = 7,     ///< threshold only: everything is let through
};

/// Returns the name of `level`, "Unknown (9)" for a value without one.
std::string ToString(LogLevel level);

/// Prints what ToString returns.
std::ostream& operator<<(std::ostream& out, LogLevel level);

}  // namespace QELLog
