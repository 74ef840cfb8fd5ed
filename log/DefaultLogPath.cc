#include "log/DefaultLogPath.h"

#include <cstdlib>

namespace QELTok {

// First called while the program is loaded, by the token log's own static.
const std::string& DefaultLogPath() {
  static const std::string path = [] {
    const char* home = std::getenv("HOME");
    return std::string(home ? home : "") + "/Documents/QELToken.log";
  }();
  return path;
}

}  // namespace QELTok
