#include "host/keys/CertificateFacts.h"

#include <openssl/bn.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <ctime>
#include <memory>

namespace Host {
namespace {

using ScopedCertificate = std::unique_ptr<X509, decltype(&X509_free)>;
using ScopedBio = std::unique_ptr<BIO, decltype(&BIO_free)>;

constexpr struct {
  uint32_t bit;
  const char* name;
} kUsages[] = {
    {KU_DIGITAL_SIGNATURE, "digitalSignature"},
    {KU_NON_REPUDIATION, "nonRepudiation"},
    {KU_KEY_ENCIPHERMENT, "keyEncipherment"},
    {KU_DATA_ENCIPHERMENT, "dataEncipherment"},
    {KU_KEY_AGREEMENT, "keyAgreement"},
    {KU_KEY_CERT_SIGN, "keyCertSign"},
    {KU_CRL_SIGN, "cRLSign"},
    {KU_ENCIPHER_ONLY, "encipherOnly"},
    {KU_DECIPHER_ONLY, "decipherOnly"},
};

std::string NameText(const X509_NAME* name) {
  const ScopedBio text(BIO_new(BIO_s_mem()), BIO_free);
  if (!text || X509_NAME_print_ex(text.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB) < 0) return "";
  const char* bytes = nullptr;
  const long length = BIO_get_mem_data(text.get(), &bytes);
  return {bytes, static_cast<size_t>(length)};
}

std::string SerialText(const X509* certificate) {
  const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(
      ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr), BN_free);
  char* const hex = number ? BN_bn2hex(number.get()) : nullptr;
  const std::string text = hex ? hex : "";
  OPENSSL_free(hex);
  return text;
}

std::string TimeText(const ASN1_TIME* time) {
  std::tm parts = {};
  char text[64];
  if (ASN1_TIME_to_tm(time, &parts) != 1 || std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0)
    return "";
  return text;
}

std::string ValidityNow(const X509* certificate) {
  // 0 stands for a time that cannot be read.
  const int since = X509_cmp_current_time(X509_get0_notBefore(certificate));
  const int until = X509_cmp_current_time(X509_get0_notAfter(certificate));
  return since > 0 ? "not yet valid" : until < 0 ? "expired" : kValidNow;
}

}  // namespace

std::optional<CertificateFacts> FactsOf(const Wire::Bytes& der) {
  const auto* at = der.data();
  const ScopedCertificate certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free);
  if (!certificate) return std::nullopt;
  CertificateFacts facts;
  facts.subject = NameText(X509_get_subject_name(certificate.get()));
  facts.issuer = NameText(X509_get_issuer_name(certificate.get()));
  facts.serial = SerialText(certificate.get());
  facts.notBefore = TimeText(X509_get0_notBefore(certificate.get()));
  facts.notAfter = TimeText(X509_get0_notAfter(certificate.get()));
  facts.validity = ValidityNow(certificate.get());
  const uint32_t usage = X509_get_key_usage(certificate.get());
  if (usage == UINT32_MAX) return facts;  // it has no such extension
  for (const auto& row : kUsages)
    if ((usage & row.bit) != 0) facts.keyUsage.emplace_back(row.name);
  return facts;
}

}  // namespace Host
