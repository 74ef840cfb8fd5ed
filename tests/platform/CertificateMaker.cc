#include "tests/platform/CertificateMaker.h"

#include <openssl/ec.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace {

template <class T>
T* Require(T* object) {
  if (object == nullptr) {
    throw std::runtime_error("OpenSSL could not make what the test needs");
  }
  return object;
}

}  // namespace

CertificateMaker CertificateMaker::RSA(unsigned bits) {
  return CertificateMaker(Require(EVP_RSA_gen(bits)));
}
CertificateMaker CertificateMaker::EC(const char* curve) {
  return CertificateMaker(Require(EVP_EC_gen(curve)));
}
CertificateMaker CertificateMaker::Ed25519() {
  return CertificateMaker(Require(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")));
}

std::vector<uint8_t> CertificateMaker::Certificate(const Names& subject, const std::string& alternativeNames) const {
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(Require(X509_new()), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  for (const auto& [attribute, value] : subject) {
    X509_NAME_add_entry_by_txt(name, attribute.c_str(), MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(value.data()), static_cast<int>(value.size()), -1,
                               0);
  }
  X509_set_issuer_name(certificate.get(), name);
  X509_set_pubkey(certificate.get(), m_key.get());
  if (!alternativeNames.empty()) {
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        Require(X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, alternativeNames.c_str())),
        X509_EXTENSION_free);
    X509_add_ext(certificate.get(), extension.get(), -1);
  }
  const bool signsItself = EVP_PKEY_get_base_id(m_key.get()) == EVP_PKEY_ED25519;
  if (X509_sign(certificate.get(), m_key.get(), signsItself ? nullptr : EVP_sha256()) == 0) {
    throw std::runtime_error("the test's certificate could not be signed");
  }
  std::vector<uint8_t> der(static_cast<size_t>(i2d_X509(certificate.get(), nullptr)));
  uint8_t* to = der.data();
  i2d_X509(certificate.get(), &to);
  return der;
}

std::vector<uint8_t> CertificateMaker::PublicKeyInfo() const {
  std::vector<uint8_t> der(static_cast<size_t>(i2d_PUBKEY(m_key.get(), nullptr)));
  uint8_t* to = der.data();
  i2d_PUBKEY(m_key.get(), &to);
  return der;
}
