#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// The PKCS#11 mechanism of a signature algorithm, with the parameter it points to. Stays where it is made: not
/// copyable.
class SigningMechanism {
 public:
  /// Raw RSA and PSS by their exact algorithm; everything else is ECDSA.
  explicit SigningMechanism(TKTokenKeyAlgorithm* algorithm);

  SigningMechanism(const SigningMechanism&) = delete;
  SigningMechanism& operator=(const SigningMechanism&) = delete;

  /// Returns the mechanism for C_SignInit; owned by this object.
  CK_MECHANISM* Get() { return &m_mechanism; }

  /// Returns whether this is one of the PSS mechanisms.
  bool IsPss() const { return m_mechanism.mechanism == CKM_RSA_PKCS_PSS; }

  /// Returns the PSS parameter; all zero for the other mechanisms.
  const CK_RSA_PKCS_PSS_PARAMS& Pss() const { return m_pss; }

 private:
  CK_MECHANISM m_mechanism{};
  CK_RSA_PKCS_PSS_PARAMS m_pss{};
};

NS_ASSUME_NONNULL_END
