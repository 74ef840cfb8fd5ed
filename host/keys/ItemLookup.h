#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/keys/CardToken.h"

namespace Host {

using CardTokens = std::vector<std::unique_ptr<CardToken>>;

struct FoundItem {
  const CardToken* token;
  const Wire::Item* item;
};

/// The item of that kind whose object identifier (hexadecimal, in either case) is `id`; without one, that whose label
/// it is, as `list` shows it; without one, that to which the card gave it as label. "id:..." and "label:..." say which
/// is meant. Throws Failure (not supported) when there is none or more than one.
FoundItem FindItem(const CardTokens& tokens, Wire::Item::Kind kind, const std::string& id);

}  // namespace Host
