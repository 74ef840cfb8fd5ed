#pragma once

#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

/// The names that `ctkhost sign --algorithm` takes, in the order in which help prints them.
std::vector<std::string> SignatureNames();

/// Those of them that are for keys of `key`'s type.
std::vector<std::string> SignatureNamesFor(const Wire::Item& key);

/// The platform's algorithm for one of these names: it signs the message itself. Throws std::out_of_range for others.
std::string SignatureAlgorithm(const std::string& name);

/// The same for who has the message's digest: it signs that. Throws std::out_of_range for other names.
std::string DigestSignatureAlgorithm(const std::string& name);
/// How many bytes that digest has. Throws std::out_of_range for other names.
size_t DigestLength(const std::string& name);

/// The name of an algorithm of the platform; empty when it has none.
std::string SignatureNameOf(const std::string& algorithm);

}  // namespace Host
