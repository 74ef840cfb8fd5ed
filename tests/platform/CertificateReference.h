#pragma once

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include <cstdint>
#include <vector>

/// Owns a certificate made of DER; NULL when it does not parse.
class CertificateReference {
 public:
  explicit CertificateReference(const std::vector<uint8_t> &der)
      : m_certificate(
            SecCertificateCreateWithData(NULL, (CFDataRef)[NSData dataWithBytes:der.data() length:der.size()])) {}
  CertificateReference(const CertificateReference &) = delete;
  CertificateReference &operator=(const CertificateReference &) = delete;
  ~CertificateReference() {
    if (m_certificate) {
      CFRelease(m_certificate);
    }
  }

  SecCertificateRef get() const { return m_certificate; }

 private:
  SecCertificateRef m_certificate;
};
