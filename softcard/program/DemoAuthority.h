#ifndef SOFTCARD_DEMOAUTHORITY_H
#define SOFTCARD_DEMOAUTHORITY_H

#include "softcard/program/Pem.h"

namespace SoftCard {

/// The certification authority that issues the soft cards' certificates. Its key lies unprotected in the state folder
/// (ca/ca-key.pem, beside ca/ca.pem): good for demonstration and tests, and nothing else.
class DemoAuthority {
 public:
  /// Reads the authority below `directory`, or makes one. Throws std::runtime_error.
  explicit DemoAuthority(const std::filesystem::path& directory);

  const X509* Certificate() const { return m_certificate.get(); }

  /// A certificate for the public half of `key`, valid for ten years, with `name` as common name. The key usage is
  /// that of a user's key: signature, and key encipherment (RSA) or key agreement (EC). Throws std::runtime_error.
  CertificatePointer Issue(EVP_PKEY* key, const std::string& name) const;

 private:
  KeyPointer m_key;
  CertificatePointer m_certificate;
};

}  // namespace SoftCard

#endif
