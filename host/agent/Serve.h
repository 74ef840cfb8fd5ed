#pragma once

#include <string>
#include <vector>

#include "host/agent/CardKeys.h"
#include "host/base/Options.h"

namespace Host {

struct AgentArguments {
  std::string socket;  ///< empty: one in a new folder
  CardKeys::Lifetime lifetime;
  std::vector<std::string> command;  ///< empty: none
};

/// Serves SSH clients with the cards' keys until it is interrupted, hung up or terminated, or its command ends. Prints,
/// as shell commands, where, unless it has a command. Returns the command's exit status; 0 without one. Throws Failure.
int ServeAgent(const Options& options, const AgentArguments& arguments);

}  // namespace Host
