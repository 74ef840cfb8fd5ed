#pragma once

#include <string>

#include "platform/wire/Client.h"

namespace Host {

enum class Secrecy { Public, Private };

/// Throws Failure, naming `path`, when WriteWholeFile could not write it: to be asked before work that would be lost.
void RequireWritable(const std::string& path);

/// The whole file, or all of standard input for "-". Throws Failure, naming it.
Wire::Bytes ReadWholeFile(const std::string& path);

/// Writes `bytes` beside `path` first and then takes its place, so that a failure leaves no file and no half of one.
/// Private: only the owner may read it. A path that is no regular file, such as a pipe, is written directly, and "-" is
/// standard output.
/// Throws Failure, naming it.
void WriteWholeFile(const std::string& path, const Wire::Bytes& bytes, Secrecy secrecy);

}  // namespace Host
