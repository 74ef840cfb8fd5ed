#include "log/LogLevel.h"

#include <array>

namespace QELLog {

namespace {

constexpr std::array kNames = {"None", "Fatal", "Error", "Warning", "Info", "Debug", "Secret", "All"};

}  // namespace

std::string ToString(LogLevel level) {
  const auto value = static_cast<uint8_t>(level);
  return value < kNames.size() ? kNames[value] : "Unknown (" + std::to_string(value) + ")";
}

std::ostream& operator<<(std::ostream& out, LogLevel level) {
  return out << ToString(level);
}

}  // namespace QELLog
