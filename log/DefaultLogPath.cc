#include "log/DefaultLogPath.h"

#include <cstdlib>

namespace QELTok {

const std::string& DefaultLogPath() {
  static const std::string path = [] {
    const char* home = std::getenv("HOME");
    return std::string(home ? home : "") + "/Documents/QELToken.log";
  }();
  return path;
}

namespace {

/// Reads HOME while the program is loaded; a later change of the environment does not move the log.
[[maybe_unused]] const std::string& g_readAtLoad = DefaultLogPath();

}  // namespace

}  // namespace QELTok
