#ifndef SOFTCARD_SOFTOKEN_H
#define SOFTCARD_SOFTOKEN_H

#include "softcard/state/State.h"

namespace SoftCard {

/// NSS softoken as the library beneath: each token is a database of its own in the folder `nss` of the state, which
/// softoken shows in a slot of its own.

/// The library's name, as `State::library` has it.
inline constexpr char kSoftoken[] = "libsoftokn3.so";

/// Makes the empty folders of a new card's databases. Throws std::runtime_error, naming the folder.
void MakeSoftokenDatabases(const std::filesystem::path& directory, const Card& card);

/// The string that softoken's C_Initialize wants for the tokens of `cards`; empty when there are none.
/// Throws std::runtime_error when there are more tokens than softoken has slots, or when the path of `directory` has a
/// character that cannot stand in such a string.
std::string SoftokenParameters(const std::filesystem::path& directory, const std::vector<Card>& cards);

}  // namespace SoftCard

#endif
