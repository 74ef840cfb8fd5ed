#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <nlohmann/json.hpp>
#include <string>

std::string HexOf(NSData *data);

/// Objects of property lists that constraints are made of: text, and numbers as truth values.
nlohmann::json JsonOf(id constraint);
id ConstraintFrom(const nlohmann::json &constraint);

/// A keychain item as the host sees it. Throws BadRequest when the item's identifier is not an NSData.
nlohmann::json DescriptionOf(TKTokenKeychainItem *item);
