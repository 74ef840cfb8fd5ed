#include "tests/support/TestCertificates.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <map>
#include <memory>

namespace TestCertificates {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Key MakeKey(const std::string& type) {
  if (type == "RSA") return Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048}), &EVP_PKEY_free);
  if (type == "EC") return Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"), &EVP_PKEY_free);
  return Key(EVP_PKEY_Q_keygen(nullptr, nullptr, type.c_str()), &EVP_PKEY_free);
}

constexpr long kDay = 24 * 3600;

/// Valid for a day, which begins `begin` seconds from now.
std::vector<uint8_t> SelfSigned(EVP_PKEY* key, const std::string& subject, const EVP_MD* digest, long begin = 0) {
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), &X509_free);
  X509_set_version(certificate.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), begin);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), begin + kDay);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(subject.c_str()), -1, -1,
                             0);
  X509_set_issuer_name(certificate.get(), name);
  X509_set_pubkey(certificate.get(), key);
  X509_sign(certificate.get(), key, digest);
  uint8_t* der = nullptr;
  const int length = i2d_X509(certificate.get(), &der);
  std::vector<uint8_t> bytes(der, der + length);
  OPENSSL_free(der);
  return bytes;
}

/// Keys are slow to make; certificates are not.
EVP_PKEY* KeyOf(const std::string& type) {
  static std::map<std::string, Key> keys;
  auto key = keys.find(type);
  if (key == keys.end()) key = keys.emplace(type, MakeKey(type)).first;
  return key->second.get();
}

}  // namespace

std::vector<uint8_t> Rsa(const std::string& subject) {
  return SelfSigned(KeyOf("RSA"), subject, EVP_sha256());
}

std::vector<uint8_t> Ec(const std::string& subject) {
  return SelfSigned(KeyOf("EC"), subject, EVP_sha256());
}

std::vector<uint8_t> Ed25519() {
  return SelfSigned(KeyOf("ED25519"), "Test Ed25519", nullptr);
}

std::vector<uint8_t> Expired() {
  return SelfSigned(KeyOf("EC"), "Test EC", EVP_sha256(), -2 * kDay);
}

std::vector<uint8_t> NotYetValid() {
  return SelfSigned(KeyOf("EC"), "Test EC", EVP_sha256(), kDay);
}

}  // namespace TestCertificates
