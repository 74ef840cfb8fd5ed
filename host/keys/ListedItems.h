#pragma once

#include <vector>

#include "host/keys/CardToken.h"

namespace Host {

/// The token's items in the order of their identifiers. What a key can do is what a session of the token answers when
/// it is asked, not what the item claims; where no session can be had, the user is told and the claim stands.
std::vector<Wire::Item> ListedItems(const CardToken& token);

}  // namespace Host
