/// What this system tells about an X.509 certificate, in plain C++ over OpenSSL.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct X509Certificate {
  enum class KeyType { Other, RSA, EC };

  std::optional<std::string> subjectSummary;   ///< UTF-8; nothing when there is nothing to show
  KeyType keyType = KeyType::Other;            ///< EC for curves over a prime field only
  long keySizeInBits = 0;                      ///< of the RSA modulus, of the curve's field; 0 for other keys
  std::vector<uint8_t> publicKey;              ///< PKCS #1 RSAPublicKey, or the uncompressed X9.63 point
  std::vector<uint8_t> publicKeyHash;          ///< SHA-1 of publicKey
  std::optional<int64_t> notBefore, notAfter;  ///< seconds since 1970; nothing for what is no date
};

/// Returns nothing when the bytes are not exactly one DER certificate.
std::optional<X509Certificate> ParseX509(const uint8_t* der, size_t length);
