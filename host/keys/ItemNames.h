#pragma once

#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

bool IsRsa(const Wire::Item& key);
bool IsElliptic(const Wire::Item& key);

/// The label that the card gave the item, when `label` is made of it and of what its certificate is called, as
/// "Mine (Anna Example)" is; else all of it.
std::string CardLabelIn(const std::string& label);

/// What a key can do, in the words of `list`.
std::vector<std::string> CapabilitiesOf(const Wire::Item& key);
/// "RSA-2048", "EC P-256".
std::string KeyTypeName(const Wire::Item& key);

}  // namespace Host
