#pragma once

#include <vector>

#include "host/base/Options.h"
#include "host/keys/ItemLookup.h"
#include "host/readers/Readers.h"

namespace Host {

/// The extension of a command's options; requests and outcomes go to standard error when the command is verbose. What
/// is waited for is shown to a user at a terminal only.
ExtensionProcess MakeProcess(const Options& options, Waiting waiting = Waiting::Silent);

/// The readers that the command looks at. Throws Failure (no token) when there are none.
std::vector<Reader> ChosenReaders(const Options& options);

/// The tokens of all cards in the chosen readers. A card that gives no token is told of on standard error when others
/// do. Throws Failure (no token) when there are none.
CardTokens OpenTokens(const Options& options, ExtensionProcess& process);

}  // namespace Host
