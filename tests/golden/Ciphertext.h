#pragma once

#include <cstdint>
#include <vector>

/// Encrypts a short text to an RSA public key (RSAPublicKey in DER) with PKCS#1 v1.5 padding. Empty when OpenSSL
/// refuses.
std::vector<uint8_t> CiphertextFor(const std::vector<uint8_t>& publicKey);
