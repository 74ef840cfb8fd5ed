/// How commands give their results.

#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/base/Files.h"
#include "host/base/Options.h"
#include "host/base/Output.h"

namespace Host {

/// Prints to standard output. Throws Failure as Print does.
void PrintJson(const nlohmann::json& value);

/// Writes `bytes` to the file `path`; a private result is wiped from memory. Says so on standard error, for programs on
/// standard output, and not at all when that is where the result went. Throws Failure.
void Deliver(const Options& options, const std::string& path, Wire::Bytes bytes, Secrecy secrecy);

}  // namespace Host
