#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <vector>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// The PKCS#11 mechanism of a key exchange (CKM_ECDH1_DERIVE) with its parameter and its own copies of what that points
/// to. Stays where it is made: not copyable.
class KeyDerivation {
 public:
  /// `publicKey` is the other party's in X9.63 form. Its first byte, the format, is dropped whatever it holds: the card
  /// takes the bare coordinates. An absent `sharedInfo` counts as empty; it is passed on only with the SHA-1 derivation
  /// of X9.63.
  KeyDerivation(TKTokenKeyAlgorithm *algorithm, NSData *publicKey, NSData *_Nullable sharedInfo);

  KeyDerivation(const KeyDerivation &) = delete;
  KeyDerivation &operator=(const KeyDerivation &) = delete;

  /// Returns the mechanism for C_DeriveKey; owned by this object.
  CK_MECHANISM *Mechanism() { return &m_mechanism; }

  /// Returns whether the card derives the key from the raw secret, instead of giving the secret itself.
  bool HasFunction() const { return m_parameter.kdf != CKD_NULL; }

 private:
  std::vector<CK_BYTE> m_publicKey;
  std::vector<CK_BYTE> m_sharedInfo;
  CK_ECDH1_DERIVE_PARAMS m_parameter{};
  CK_MECHANISM m_mechanism{};
};

NS_ASSUME_NONNULL_END
