#pragma once

#include <string>
#include <vector>

namespace Host {

/// The names that `ctkhost sign --algorithm` takes, in the order in which help prints them.
std::vector<std::string> SignatureNames();

/// The platform's algorithm for one of these names: it signs the message itself. Throws std::out_of_range for others.
std::string SignatureAlgorithm(const std::string& name);

/// The name of an algorithm of the platform; empty when it has none.
std::string SignatureNameOf(const std::string& algorithm);

}  // namespace Host
