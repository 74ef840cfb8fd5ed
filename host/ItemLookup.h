#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/TokenService.h"

namespace Host {

using CardTokens = std::vector<std::unique_ptr<CardToken>>;

struct FoundItem {
  const CardToken* token;
  const Wire::Item* item;
};

/// The item of that kind whose object identifier (hexadecimal, in either case) or label is `id`.
/// Throws Failure (not supported) when there is none or more than one.
FoundItem FindItem(const CardTokens& tokens, Wire::Item::Kind kind, const std::string& id);

}  // namespace Host
