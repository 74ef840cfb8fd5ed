#ifndef SOFTCARD_PERSONALISE_H
#define SOFTCARD_PERSONALISE_H

#include "softcard/State.h"

namespace SoftCard {

/// A key that comes from files.
struct ImportedKey {
  std::filesystem::path key;
  std::filesystem::path certificate;  ///< Empty: the demo CA issues one.
};

struct CardOrder {
  Card card;  ///< Its tokens are filled in here.
  size_t slots = 1;
  std::vector<std::string> generate;  ///< Key types, as GenerateKeyPair has them.
  std::vector<ImportedKey> import;
  std::string over = {};  ///< "softhsm" or "nss"; empty: the library that keeps the other cards, else SoftHSM2.
};

/// Makes a card's tokens (through `softCardLibrary` over SoftHSM2, with softoken directly) and writes keys and
/// certificates on them; the keys are dealt out to the slots in turn, and each slot gets the demo CA's certificate with
/// the authority category. Enters the card in the state, in no reader. `pin` is never copied.
/// Throws std::runtime_error, naming what failed; the state then knows nothing of the card.
void Personalise(const std::filesystem::path& directory, const std::string& softCardLibrary, CardOrder order,
                 const std::string& pin);

}  // namespace SoftCard

#endif
