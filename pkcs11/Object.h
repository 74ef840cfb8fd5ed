#pragma once

#include <string>
#include <vector>

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// One object on the card: its handle and the session in which the handle is valid. Owns nothing; cheap to copy.
/// Every reader throws -6 "Cannot read object's attribute" when the library refuses the attribute or reports no usable
/// length for it; an attribute that the card does not have has no default.
struct Object {
  CK_OBJECT_HANDLE object;
  CK_SESSION_HANDLE session;

  /// Returns CKA_ID, exactly as long as the library reported.
  std::vector<CK_BYTE> GetID() const;

  /// Returns the bytes of CKA_LABEL as they are: no trimming, no stop at a zero byte, no conversion.
  std::string GetLabel() const;
};

struct Certificate : Object {
  /// Returns CKA_VALUE: the certificate in DER.
  std::vector<CK_BYTE> GetValue() const;
};

struct PublicKey : Object {
  /// Returns whether CKA_VERIFY is set.
  bool CanVerify() const;

  /// Returns whether CKA_ENCRYPT is set.
  bool CanEncrypt() const;

  /// Returns whether CKA_KEY_TYPE is CKK_EC.
  bool IsEC() const;
};

}  // namespace PKCS11
