#pragma once

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Makes self-signed certificates for tests.
class CertificateMaker {
 public:
  using Names = std::vector<std::pair<std::string, std::string>>;

  explicit CertificateMaker(EVP_PKEY* key) : m_key(key, EVP_PKEY_free) {}
  static CertificateMaker RSA(unsigned bits = 2048);
  static CertificateMaker EC(const char* curve);
  static CertificateMaker Ed25519();

  /// The certificate in DER. `subject` has short names of attributes and values; `alternativeNames` is in the syntax of
  /// OpenSSL's configuration, such as "email:a@example.com", and may be empty.
  std::vector<uint8_t> Certificate(const Names& subject, const std::string& alternativeNames = "") const;

  /// The key in the SubjectPublicKeyInfo form.
  std::vector<uint8_t> PublicKeyInfo() const;

 private:
  std::shared_ptr<EVP_PKEY> m_key;
};
