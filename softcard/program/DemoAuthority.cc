#include "softcard/program/DemoAuthority.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/x509v3.h>

#include "softcard/state/FileLock.h"
#include "softcard/state/State.h"

namespace SoftCard {

namespace {

constexpr long kDay = 24 * 60 * 60;
constexpr char kAuthorityName[] = "Soft Card Demo CA";

struct Extension {
  int nid;
  const char* value;
};

void AddName(X509_NAME* name, const char* field, const std::string& text) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
  if (X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, bytes, static_cast<int>(text.size()), -1, 0) != 1)
    FailInOpenssl("subject name " + text);
}

void AddExtension(X509* certificate, const X509* issuer, const Extension& extension) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, const_cast<X509*>(issuer), certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, OpensslFree<X509_EXTENSION_free>> made(
      X509V3_EXT_conf_nid(nullptr, &context, extension.nid, extension.value));
  if (!made || X509_add_ext(certificate, made.get(), -1) != 1) FailInOpenssl("certificate extension");
}

/// A certificate for `key`, signed with `signer`; its own issuer when `issuer` is null.
CertificatePointer Sign(EVP_PKEY* key, const std::string& name, const X509* issuer, EVP_PKEY* signer,
                        const std::vector<Extension>& extensions) {
  CertificatePointer certificate(X509_new());
  const std::unique_ptr<BIGNUM, OpensslFree<BN_free>> serial(BN_new());
  if (!certificate || !serial || BN_rand(serial.get(), 64, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) != 1 ||
      !BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(certificate.get())))
    FailInOpenssl("certificate serial number");
  X509_set_version(certificate.get(), X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3650 * kDay);
  auto* const subject = X509_get_subject_name(certificate.get());
  AddName(subject, "O", "QEL soft cards, for demonstration only");
  AddName(subject, "CN", name);
  const X509* const parent = issuer ? issuer : certificate.get();
  X509_set_issuer_name(certificate.get(), X509_get_subject_name(parent));
  X509_set_pubkey(certificate.get(), key);
  for (const auto& extension : extensions) AddExtension(certificate.get(), parent, extension);
  if (X509_sign(certificate.get(), signer, EVP_sha256()) == 0) FailInOpenssl("signing a certificate");
  return certificate;
}

}  // namespace

DemoAuthority::DemoAuthority(const std::filesystem::path& directory) {
  const auto folder = directory / "ca";
  const auto keyFile = folder / "ca-key.pem";
  const auto certificateFile = folder / "ca.pem";
  MakePrivateDirectory(folder);
  // Cards that are made at once have one authority.
  FileLock lock(folder / "lock");
  lock.Take();
  if (std::filesystem::exists(keyFile) && std::filesystem::exists(certificateFile)) {
    m_key = ReadPrivateKey(keyFile);
    m_certificate = ReadCertificate(certificateFile);
    return;
  }
  m_key.reset(EVP_EC_gen("P-256"));
  if (!m_key) FailInOpenssl("making the demo CA's key");
  m_certificate = Sign(m_key.get(), kAuthorityName, nullptr, m_key.get(),
                       {{NID_basic_constraints, "critical,CA:TRUE"},
                        {NID_key_usage, "critical,keyCertSign,cRLSign"},
                        {NID_subject_key_identifier, "hash"}});
  WritePrivateFile(keyFile, PemOf(m_key.get()));
  WritePrivateFile(certificateFile, PemOf(m_certificate.get()));
}

CertificatePointer DemoAuthority::Issue(EVP_PKEY* key, const std::string& name) const {
  const bool rsa = EVP_PKEY_get_base_id(key) == EVP_PKEY_RSA;
  return Sign(
      key, name, m_certificate.get(), m_key.get(),
      {{NID_basic_constraints, "critical,CA:FALSE"},
       {NID_key_usage, rsa ? "critical,digitalSignature,keyEncipherment" : "critical,digitalSignature,keyAgreement"},
       {NID_subject_key_identifier, "hash"},
       {NID_authority_key_identifier, "keyid"}});
}

}  // namespace SoftCard
