#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

// What the platform and the card say differently about a signature: the algorithm, the data to sign, the result.

/// The PKCS#11 mechanism of a signature algorithm, with the parameter it points to. Stays where it is made: not
/// copyable.
class SigningMechanism {
 public:
  /// Raw RSA and PSS by their exact algorithm; everything else is ECDSA.
  explicit SigningMechanism(TKTokenKeyAlgorithm *algorithm);

  SigningMechanism(const SigningMechanism &) = delete;
  SigningMechanism &operator=(const SigningMechanism &) = delete;

  /// Returns the mechanism for C_SignInit; owned by this object.
  CK_MECHANISM *Get() { return &m_mechanism; }

  /// Returns whether the card is given a PKCS#1 block without its padding.
  bool IsRaw() const { return m_mechanism.mechanism == CKM_RSA_PKCS; }

  /// Returns whether this is one of the PSS mechanisms.
  bool IsPss() const { return m_mechanism.mechanism == CKM_RSA_PKCS_PSS; }

  /// Returns the PSS parameter; all zero for the other mechanisms.
  const CK_RSA_PKCS_PSS_PARAMS &Pss() const { return m_pss; }

 private:
  CK_MECHANISM m_mechanism{};
  CK_RSA_PKCS_PSS_PARAMS m_pss{};
};

/// Returns the offset of the payload after PKCS#1 v1.5 padding of type 1 (00 01 FF.. 00), or why there is none: -1 and
/// -2 for a wrong first and second byte, -3 for a foreign byte in the padding, -4 when it does not end. Any number of
/// FF bytes is taken, also none. A missing byte counts as a wrong one.
int64_t Pkcs1PayloadOffset(const uint8_t *block, size_t length);

/// Returns the X9.62 form, a DER SEQUENCE of two INTEGERs, of a raw signature r||s; nil when the platform's coder
/// refuses. The halves are split by integer division.
NSMutableData *_Nullable DerFromRawEcdsaSignature(NSData *signature);

NS_ASSUME_NONNULL_END
