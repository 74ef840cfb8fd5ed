#include "host/agent/Keys.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstring>
#include <memory>

#include "host/keys/PublicKeyParts.h"

namespace Ssh {
namespace {

using ScopedCertificate = std::unique_ptr<X509, decltype(&X509_free)>;
using ScopedSignature = std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)>;

constexpr uint32_t kRsaSha256 = 2;
constexpr uint32_t kRsaSha512 = 4;

struct Curve {
  const char* group;  ///< OpenSSL's name
  KeyType type;
  const char* name;
  const char* algorithm;
};

constexpr Curve kCurves[] = {
    {"prime256v1", KeyType::EcdsaP256, "nistp256", "ecdsa-sha256"},
    {"secp384r1", KeyType::EcdsaP384, "nistp384", "ecdsa-sha384"},
};

Bytes BytesOf(const BIGNUM* number) {
  Bytes bytes(static_cast<size_t>(BN_num_bytes(number)));
  BN_bn2bin(number, bytes.data());
  return bytes;
}

std::optional<PublicKey> RsaKey(const EVP_PKEY* key) {
  const Bytes exponent = Host::NumberOf(key, OSSL_PKEY_PARAM_RSA_E);
  const Bytes modulus = Host::NumberOf(key, OSSL_PKEY_PARAM_RSA_N);
  return PublicKey{KeyType::Rsa, Writer().String("ssh-rsa").Mpint(exponent).Mpint(modulus).Take()};
}

std::optional<PublicKey> EcdsaKey(EVP_PKEY* key) {
  char group[64] = "";
  EVP_PKEY_get_group_name(key, group, sizeof group, nullptr);
  for (const Curve& curve : kCurves) {
    if (std::strcmp(group, curve.group) != 0) continue;
    const std::string name = curve.name;
    const Bytes point = Host::UncompressedPoint(key);
    return PublicKey{curve.type, Writer().String("ecdsa-sha2-" + name).String(name).String(point).Take()};
  }
  return std::nullopt;
}

std::optional<PublicKey> SupportedKey(EVP_PKEY* key) {
  switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
      return RsaKey(key);
    case EVP_PKEY_EC:
      return EcdsaKey(key);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<CertifiedKey> KeyOfCertificate(const Bytes& der) {
  const uint8_t* at = der.data();
  const ScopedCertificate certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free);
  EVP_PKEY* key = certificate ? X509_get0_pubkey(certificate.get()) : nullptr;
  auto supported = key ? SupportedKey(key) : std::nullopt;
  if (!supported) return std::nullopt;
  return CertifiedKey{*std::move(supported), Host::PublicKeyHash(certificate.get())};
}

std::optional<SignatureMethod> MethodFor(KeyType type, uint32_t flags) {
  for (const Curve& curve : kCurves)
    if (curve.type == type) return SignatureMethod{std::string("ecdsa-sha2-") + curve.name, curve.algorithm};
  if ((flags & kRsaSha512) != 0) return SignatureMethod{"rsa-sha2-512", "rsa-pkcs1-sha512"};
  if ((flags & kRsaSha256) != 0) return SignatureMethod{"rsa-sha2-256", "rsa-pkcs1-sha256"};
  return std::nullopt;
}

Bytes EncodeSignature(KeyType type, const SignatureMethod& method, const Bytes& signature) {
  if (type == KeyType::Rsa) return Writer().String(method.name).String(signature).Take();
  const uint8_t* at = signature.data();
  const ScopedSignature pair(d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(signature.size())), ECDSA_SIG_free);
  if (!pair) throw Malformed("no ECDSA signature");
  const Bytes r = BytesOf(ECDSA_SIG_get0_r(pair.get()));
  const Bytes s = BytesOf(ECDSA_SIG_get0_s(pair.get()));
  return Writer().String(method.name).String(Writer().Mpint(r).Mpint(s).Take()).Take();
}

}  // namespace Ssh
