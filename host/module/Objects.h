#pragma once

#include <p11-kit/pkcs11.h>

#include <map>
#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

/// A certificate, public key or private key as PKCS#11 shows it to an application.
struct ModuleObject {
  /// Every attribute that can be read, in PKCS#11's encoding.
  std::map<CK_ATTRIBUTE_TYPE, Wire::Bytes> attributes;
  /// Behind a private key: the token's item, which outlives this. Null elsewhere.
  const Wire::Item* key = nullptr;

  /// Whether each of the `count` attributes is there and equal.
  bool Matches(const CK_ATTRIBUTE* wanted, CK_ULONG count) const;
  /// C_GetAttributeValue of this object.
  CK_RV Read(CK_ATTRIBUTE* wanted, CK_ULONG count) const;

  /// The length of a signature or of the modulus in bytes; of private keys.
  size_t SignatureLength() const;
};

/// The objects of a token's items: each certificate with its public key, and each key whose certificate is there.
/// CKA_ID of all three is the key's identifier as `ctkhost list` shows it. A certificate that cannot be read is left
/// out.
std::vector<ModuleObject> ObjectsOf(const std::vector<Wire::Item>& items);

}  // namespace Host
