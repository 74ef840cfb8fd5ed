#pragma once

#include <string>

#include "host/base/Options.h"

namespace Host {

/// Serves the cards' keys as a PKCS#11 module in p11-kit's protocol for modules in other processes, until the
/// application on `input` and `output` ends. What fails is told of on standard error. Throws Failure when the protocol
/// fails.
void ServeModule(const Options& options, int input, int output);

/// The same for every application that connects to a socket at `path`, each with a process and an extension of its own;
/// `path` empty: a socket in a new folder. Prints, as shell commands, what applications need to know. Ends with an
/// interrupt. Throws Failure.
void ServeModuleAt(const Options& options, const std::string& path);

}  // namespace Host
