#pragma once

#include <functional>
#include <string>

#include "host/base/Files.h"
#include "host/base/Options.h"
#include "host/keys/KeySession.h"

namespace Host {

/// What a command does with a key.
using KeyUse = std::function<Wire::Bytes(KeySession& session, const Wire::Item& key)>;

/// What a command works on: the file `path`, or standard input for "-". Throws Failure, also when the PIN is to come
/// from there.
Wire::Bytes ReadInput(const Options& options, const std::string& path);

/// Runs `use` with a session for the key called `id` and gives its result to the file `path`. Throws Failure, for a
/// file that cannot be written before the card is touched.
void UseKey(const Options& options, const std::string& id, const std::string& path, Secrecy secrecy, const KeyUse& use);

}  // namespace Host
