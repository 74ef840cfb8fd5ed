#pragma once

#include <string>
#include <vector>

#include "bench/BareCalls.h"

/// A key of a benchmark card and what is signed with it.
struct SigningKey {
  std::string name;
  Bare::ByteString id;
  CK_MECHANISM_TYPE mechanism;
  size_t modulusBytes;  ///< 0 for an EC key
  size_t digestBytes;   ///< of the SHA-2 digest that is signed

  bool IsRsa() const { return modulusBytes != 0; }
  /// What the card signs: a DigestInfo, or the digest.
  Bare::ByteString CardInput() const;
  /// What the platform hands to the extension: the DigestInfo as a PKCS#1 block, or the digest.
  Bare::ByteString PlatformInput() const;
};

/// Those of the card BenchCard::kMain.
const std::vector<SigningKey>& MainKeys();
/// Those of the cards with 6 and with 206 objects.
const std::vector<SigningKey>& SmallKeys();

/// A digest of that length.
Bare::ByteString Digest(size_t bytes);
