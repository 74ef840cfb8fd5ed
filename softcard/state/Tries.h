#ifndef SOFTCARD_TRIES_H
#define SOFTCARD_TRIES_H

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "softcard/state/FileLock.h"

namespace SoftCard {

/// The PIN tries left of each card's tokens. They are what a card itself changes while it is used, so they are kept
/// apart from the state: in the folder `LiveDirectory`, where the library may write. Whatever is there may come from a
/// library that means no good; what is not understood counts as three tries.
using Tries = std::map<std::string, std::vector<int>>;

/// The only part of a state folder, beside its tokens and logs, that the library changes. It need not exist.
std::filesystem::path LiveDirectory(const std::filesystem::path& directory);

/// What is kept for the state in `directory`. Nothing is thrown.
Tries ReadTries(const std::filesystem::path& directory);

/// Lets `change` work on the count of one token and writes it back, while no other process can do the same. What
/// `change` throws leaves it as it was and passes through. Throws std::runtime_error, naming the file, when it cannot
/// be written.
void ChangeTries(const std::filesystem::path& directory, const std::string& card, size_t token,
                 const std::function<void(int&)>& change);

/// Waits for the login that another process is counting, and holds others off until the result is gone: SoftHSM2
/// empties a token's file for a moment while it logs in, and who reads it then finds no token. Null, and nobody is
/// waited for, when this process may not take the lock. Do not hold it while calling ChangeTries.
std::unique_ptr<FileLock> HoldLoginsOff(const std::filesystem::path& directory);

/// Writes the counts of all cards in `tries`; those of others stay. Throws as ChangeTries does.
void WriteTries(const std::filesystem::path& directory, const Tries& tries);

}  // namespace SoftCard

#endif
