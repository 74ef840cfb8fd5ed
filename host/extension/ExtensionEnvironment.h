#pragma once

#include <string>
#include <vector>

namespace Host {

/// The variables, as "NAME=VALUE", that an extension's process gets of this process's: who the user is, the language,
/// and what the cards, the libraries beneath and the build's own tools are directed by. A user's secrets are none of
/// those. GNUstep's configuration is the one that it was built with, whatever the user's is, and functions are looked
/// up at the start.
std::vector<std::string> ExtensionEnvironment();

}  // namespace Host
