#include "tests/app/DatedCertificate.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <ctime>
#include <memory>

namespace {

std::string TextOf(BIO* file) {
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(file, &bytes);
  return {bytes, static_cast<size_t>(length)};
}

}  // namespace

DatedCertificate::DatedCertificate(const std::string& name, long fromSeconds, long toSeconds) {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_NAME* const subject = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(name.data()),
                             static_cast<int>(name.size()), -1, 0);
  X509_set_issuer_name(certificate.get(), subject);
  const std::time_t now = std::time(nullptr);
  ASN1_TIME_set(X509_getm_notBefore(certificate.get()), now + fromSeconds);
  ASN1_TIME_set(X509_getm_notAfter(certificate.get()), now + toSeconds);
  X509_set_pubkey(certificate.get(), key.get());
  X509_sign(certificate.get(), key.get(), EVP_sha256());

  unsigned char* der = nullptr;
  const int length = i2d_X509(certificate.get(), &der);
  m_der.assign(der, der + length);
  OPENSSL_free(der);
  const std::unique_ptr<BIO, decltype(&BIO_free)> file(BIO_new(BIO_s_mem()), BIO_free);
  PEM_write_bio_X509(file.get(), certificate.get());
  m_pem = TextOf(file.get());
  const std::unique_ptr<BIO, decltype(&BIO_free)> keyFile(BIO_new(BIO_s_mem()), BIO_free);
  PEM_write_bio_PrivateKey(keyFile.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  m_keyPem = TextOf(keyFile.get());
}
