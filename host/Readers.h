#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Host {

struct Reader {
  std::string name;
  bool hasCard = false;
  unsigned long insertions = 0;  ///< of cards, as far as the reader counts them
};

/// The soft readers of this user. Throws Failure when what is kept of them cannot be read.
std::vector<Reader> Readers();

/// Tries left before the PIN of the card in soft reader `reader` is locked; `keyID` (hexadecimal) tells which of the
/// card's tokens. Nothing when the reader, the card or the count is not known.
std::optional<int> PinTriesLeft(const std::string& reader, const std::string& keyID);

}  // namespace Host
