#ifndef SOFTCARD_KEYOBJECTS_H
#define SOFTCARD_KEYOBJECTS_H

#include "softcard/program/Client.h"
#include "softcard/program/Pem.h"

namespace SoftCard {

/// Key pairs and certificates as objects of a token. Every function throws std::runtime_error, naming the failed call.
///
/// A public key may verify and encrypt, whatever its type: these two say what its private key may do, and an EC key
/// agrees keys only when its public key may encrypt. Private keys are sensitive and cannot be extracted.

/// What a key pair and its certificate share.
struct ObjectNames {
  std::string label;
  Bytes id;
};

/// Makes the key pair on the token; `type` is "rsa" with a length in bits, or "p256", "p384" or "p521".
/// Returns the public key.
KeyPointer GenerateKeyPair(const LoggedInSession& session, const std::string& type, const ObjectNames& names);

/// Stores an RSA key, or an EC key on P-256, P-384 or P-521, with its public half.
void ImportKeyPair(const LoggedInSession& session, const EVP_PKEY* key, const ObjectNames& names);

/// Stores a certificate; `category` as CKA_CERTIFICATE_CATEGORY has it (1: the card's user, 2: an authority).
void StoreCertificate(const LoggedInSession& session, const X509* certificate, CK_ULONG category,
                      const ObjectNames& names);

/// "RSA-2048", "EC P-256" and so on; throws std::runtime_error for a key that a card does not take.
std::string Describe(const EVP_PKEY* key);
std::string Describe(const std::string& type);

}  // namespace SoftCard

#endif
