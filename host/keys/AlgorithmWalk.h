/// How the platform tries algorithms on a token: the requested one first, then what an adaptor can turn it into, until
/// the token says yes. Pure logic; nothing is asked or computed here.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

/// What an adaptor does to the data on the way down.
struct Conversion {
  enum class Kind {
    None,
    Hash,         ///< message to digest
    WrapPkcs1,    ///< digest to the padded block with its DigestInfo
    PadPkcs1,     ///< bytes to the padded block, as they are
    NotModelled,  ///< what the platform would compute before or after the token's part, and this host does not
  };
  Kind kind = Kind::None;
  std::string digest;  ///< "SHA256"; empty where the kind needs none

  bool operator==(const Conversion& other) const { return kind == other.kind && digest == other.digest; }
};

/// One question to the token. The data is in the form of the last algorithm.
struct Candidate {
  Wire::Operation operation = Wire::Operation::SignData;
  Wire::Algorithms algorithms;
  std::vector<Conversion> conversions;  ///< from the caller's data to that form
};

/// The question after `candidate` was answered with no. Nothing when no adaptor goes on or an algorithm would repeat.
std::optional<Candidate> NextCandidate(const Candidate& candidate);

/// The first candidate to which `supports` says yes, starting with `algorithm` alone. Nothing: not supported.
std::optional<Candidate> FindSupported(Wire::Operation operation, const std::string& algorithm,
                                       const std::function<bool(const Candidate&)>& supports);

}  // namespace Host
