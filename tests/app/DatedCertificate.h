#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A self-signed P-256 certificate with chosen dates.
class DatedCertificate {
 public:
  /// Valid between these seconds from now.
  DatedCertificate(const std::string& name, long fromSeconds, long toSeconds);

  const std::vector<uint8_t>& Der() const { return m_der; }
  const std::string& Pem() const { return m_pem; }
  const std::string& KeyPem() const { return m_keyPem; }  ///< PKCS#8, unencrypted

 private:
  std::vector<uint8_t> m_der;
  std::string m_pem, m_keyPem;
};
