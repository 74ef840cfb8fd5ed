#pragma once

#include <string>

#include "host/base/Options.h"

namespace Host {

struct AgentArguments {
  std::string socket;  ///< empty: one in a new folder
  bool alwaysAsk = false;
};

/// Serves SSH clients with the cards' keys until it is interrupted, hung up or terminated. Prints, as shell commands,
/// where. Throws Failure.
void ServeAgent(const Options& options, const AgentArguments& arguments);

}  // namespace Host
