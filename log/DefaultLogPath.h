#pragma once

#include <string>

namespace QELTok {

/// Returns the path of the token log: the environment's HOME as it was when the program was loaded, followed by
/// "/Documents/QELToken.log". Without HOME the path is "/Documents/QELToken.log". Lives until the process exits.
const std::string& DefaultLogPath();

}  // namespace QELTok
