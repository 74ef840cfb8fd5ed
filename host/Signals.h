#pragma once

#include <vector>

namespace Host {

/// From now on `signals` end nothing: the number of each that comes is a byte to read from the descriptor that this
/// returns, which never waits. For one caller in a process. Throws Failure when the system has no pipe.
int SignalDescriptor(const std::vector<int>& signals);

}  // namespace Host
