#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Host {

struct Reader {
  std::string name;
  bool hasCard = false;
  unsigned long insertions = 0;  ///< changes with every insertion

  bool operator==(const Reader& other) const {
    return name == other.name && hasCard == other.hasCard && insertions == other.insertions;
  }
};

/// What the smart-card service has.
struct ServiceReaders {
  std::vector<Reader> readers;
  std::string problem;  ///< why it gives none, and what to do; empty when it answers

  bool operator==(const ServiceReaders& other) const { return readers == other.readers && problem == other.problem; }
};

/// What to do without a reader that does not exist yet.
constexpr char kMakeSoftReader[] = "make a soft one: 'softcard init demo', then 'softcard insert demo'";

/// The readers of the smart-card service, when it runs, then the soft readers of this user.
/// Throws Failure when what is kept of soft readers cannot be read.
std::vector<Reader> Readers();

/// Why the smart-card service gives no readers now, and what to do; empty when it answers.
std::string ServiceProblem();

/// Adds the soft readers to `readers`. A soft reader that is called like one of them stays away: then the reader is
/// real, and the soft card library only answers for its card. Throws Failure as Readers does.
std::vector<Reader> WithSoftReaders(std::vector<Reader> readers);

/// Why the card in `reader`, which was there, cannot answer any more, and what to do; empty while it is there. Gives
/// the smart-card service a second to notice.
std::string WhatIsGone(const std::string& reader);

/// Changes with every insertion of a card into `reader`; nothing when there is none in it. Throws Failure as Readers().
std::optional<unsigned long> InsertionOf(const std::string& reader);

/// Tries left before the PIN of the card in soft reader `reader` is locked; `keyID` (hexadecimal) tells which of the
/// card's tokens. Nothing when the reader, the card or the count is not known.
std::optional<int> PinTriesLeft(const std::string& reader, const std::string& keyID);

}  // namespace Host
