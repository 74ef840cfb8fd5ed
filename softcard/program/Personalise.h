#ifndef SOFTCARD_PERSONALISE_H
#define SOFTCARD_PERSONALISE_H

#include "softcard/state/State.h"

namespace SoftCard {

/// The certificate categories of the standard.
constexpr unsigned long kTokenUser = 1;
constexpr unsigned long kAuthority = 2;

/// A key, a certificate or both that come from files.
struct ImportedKey {
  std::filesystem::path key;          ///< Empty: the certificate alone.
  std::filesystem::path certificate;  ///< Empty: the demo CA issues one for the key.
  std::string label = {};             ///< Of the key and its certificate; empty: their kind and number.
  std::string identifier = {};        ///< CKA_ID in hexadecimal; empty: the number.
  unsigned long category = kTokenUser;
};

struct CardOrder {
  Card card;  ///< Its tokens are filled in here.
  size_t slots = 1;
  std::vector<std::string> generate;  ///< Key types, as GenerateKeyPair has them.
  std::vector<ImportedKey> import;
  std::string over = {};  ///< "softhsm" or "nss"; empty: the library that keeps the other cards, else SoftHSM2.
};

/// Makes a card's tokens (through `softCardLibrary` over SoftHSM2, with softoken directly) and writes keys and
/// certificates on them; the keys are dealt out to the slots in turn, and each slot that gets one gets the demo CA's
/// certificate with the authority category as well. Enters the card in the state, in no reader. `pin` is never copied.
/// Throws std::runtime_error, naming what failed; the state then knows nothing of the card.
void Personalise(const std::filesystem::path& directory, const std::string& softCardLibrary, CardOrder order,
                 const std::string& pin);

/// Forgets a card that is in no reader, with its keys. Throws NotFound or std::runtime_error with a sentence for the
/// user.
void Delete(const std::filesystem::path& directory, const std::string& card);

}  // namespace SoftCard

#endif
