#pragma once

#include "log/LogClient.h"
#include "log/LogLevel.h"

namespace QELTok {

/// Returns the client that the token's messages go through. It has no logger until InitLogging ran. Null before the
/// program's statics are made and after the client is destroyed at exit.
LogClient* TokenLogClient();

/// Returns the highest level that `client` writes, None when it writes nothing.
QELLog::LogLevel EnabledLevel(const LogClient& client);

/// Starts the token log: from here on QELLog's messages are lines of the file at DefaultLogPath, in the encoding of the
/// environment's locale, at level Debug. A sink that QELLog already has stays, and so does its level. May run again,
/// but not while another thread writes. Failures are never reported; what cannot be written is lost.
void InitLogging();

}  // namespace QELTok
