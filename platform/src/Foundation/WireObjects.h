/// What the messages carry, as the framework's objects and back. Each function throws BadRequest or
/// nlohmann::json::exception for what does not fit; objects are autoreleased.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <nlohmann/json.hpp>

#include "platform/wire/Attachment.h"

NSString *Text(const nlohmann::json &text);
NSData *DataFromHex(const nlohmann::json &text);
NSData *Data(const Wire::Attachment &attachment);

/// From a request's arguments of that name.
TKTokenOperation OperationOf(const nlohmann::json &arguments);
TKTokenKeyAlgorithm *AlgorithmOf(const nlohmann::json &arguments);
TKTokenKeyExchangeParameters *ParametersOf(const nlohmann::json &arguments);

/// Text, and truth values as numbers: the values of property lists that constraints are made of.
id ConstraintFrom(const nlohmann::json &constraint);

/// A keychain item as the host sees it.
nlohmann::json DescriptionOf(TKTokenKeychainItem *item);
