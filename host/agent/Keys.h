/// Keys and signatures as SSH writes them: RFC 4253, 5656 and 8332.

#pragma once

#include <optional>

#include "host/agent/Encoding.h"

namespace Ssh {

enum class KeyType { Rsa, EcdsaP256, EcdsaP384 };

struct PublicKey {
  KeyType type;
  Bytes blob;
};

/// A certificate's key, and the SHA-1 of its bits by which a card's items tell which key that is.
struct CertifiedKey {
  PublicKey key;
  Bytes hash;
};

/// Nothing for what is no X.509 certificate, or one of a key that is neither RSA nor on the curves P-256 and P-384.
std::optional<CertifiedKey> KeyOfCertificate(const Bytes& der);

/// How a key signs.
struct SignatureMethod {
  std::string name;       ///< SSH's
  std::string algorithm;  ///< as `ctkhost sign` names it; its signatures are what EncodeSignature takes
};

/// The method that a request's `flags` ask for. Nothing for RSA without a flag: that would be SHA-1.
std::optional<SignatureMethod> MethodFor(KeyType type, uint32_t flags);

/// `signature` with its method's name. Throws Malformed when it is not what a key of that type gives.
Bytes EncodeSignature(KeyType type, const SignatureMethod& method, const Bytes& signature);

}  // namespace Ssh
