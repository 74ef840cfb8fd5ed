/// What certificates and public keys give to those who write them in another form.

#pragma once

#include <openssl/types.h>

#include "platform/wire/Client.h"

namespace Host {

/// The external form, 04 X Y, of an elliptic-curve public key. Empty for a key that has no point.
Wire::Bytes UncompressedPoint(EVP_PKEY* key);

/// A number of the key, such as OSSL_PKEY_PARAM_RSA_N: big-endian, without leading zeros. Empty for a key that has
/// none.
Wire::Bytes NumberOf(const EVP_PKEY* key, const char* parameter);

/// SHA-1 of the certificate's public key, which its key item has as its hash. Empty when OpenSSL refuses it.
Wire::Bytes PublicKeyHash(const X509* certificate);

}  // namespace Host
