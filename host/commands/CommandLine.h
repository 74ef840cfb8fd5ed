#pragma once

namespace Host {

/// Reads the command line and runs its command. Returns the exit status; messages go to standard error.
int RunCommandLine(int argc, char** argv);

}  // namespace Host
