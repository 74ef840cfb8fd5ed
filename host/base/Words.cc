#include "host/base/Words.h"

namespace Host {

std::string Counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string InWords(std::chrono::milliseconds time) {
  using namespace std::chrono;
  if (time % minutes(1) == milliseconds(0) && time > minutes(1))
    return Counted(static_cast<size_t>(time / minutes(1)), "minute");
  if (time % seconds(1) == milliseconds(0)) return Counted(static_cast<size_t>(time / seconds(1)), "second");
  return std::to_string(time.count()) + " ms";
}

}  // namespace Host
