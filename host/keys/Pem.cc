#include "host/keys/Pem.h"

#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/ecerr.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

#include "host/base/Failure.h"
#include "host/keys/PublicKeyParts.h"

namespace Host {

using ScopedBio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using ScopedGroup = std::unique_ptr<EC_GROUP, decltype(&EC_GROUP_free)>;
using ScopedKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

namespace {

/// The curve that the encoded public key `info` names; null for another kind of key.
ScopedGroup CurveOf(X509_PUBKEY* info) {
  X509_ALGOR* algorithm = nullptr;
  const ASN1_OBJECT* curve = nullptr;
  const void* value = nullptr;
  int type = V_ASN1_UNDEF;
  X509_PUBKEY_get0_param(nullptr, nullptr, nullptr, &algorithm, info);
  X509_ALGOR_get0(&curve, &type, &value, algorithm);
  const bool isNamed = OBJ_obj2nid(curve) == NID_X9_62_id_ecPublicKey && type == V_ASN1_OBJECT;
  const int name = isNamed ? OBJ_obj2nid(static_cast<const ASN1_OBJECT*>(value)) : NID_undef;
  return {EC_GROUP_new_by_curve_name(name), EC_GROUP_free};
}

/// Whether `pem` names a curve and has a point that is not on it. OpenSSL's decoder keeps that to itself.
bool IsPointBesideItsCurve(BIO* pem) {
  char *name = nullptr, *header = nullptr;
  unsigned char* der = nullptr;
  long length = 0;
  if (PEM_read_bio(pem, &name, &header, &der, &length) != 1) return false;
  const unsigned char* at = der;
  const std::unique_ptr<X509_PUBKEY, decltype(&X509_PUBKEY_free)> info(d2i_X509_PUBKEY(nullptr, &at, length),
                                                                       X509_PUBKEY_free);
  for (void* memory : {static_cast<void*>(name), static_cast<void*>(header), static_cast<void*>(der)})
    OPENSSL_free(memory);
  const ScopedGroup curve = info ? CurveOf(info.get()) : ScopedGroup(nullptr, EC_GROUP_free);
  if (!curve) return false;
  const unsigned char* encoded = nullptr;
  int size = 0;
  X509_PUBKEY_get0_param(nullptr, &encoded, &size, nullptr, info.get());
  const std::unique_ptr<EC_POINT, decltype(&EC_POINT_free)> point(EC_POINT_new(curve.get()), EC_POINT_free);
  ERR_clear_error();
  return EC_POINT_oct2point(curve.get(), point.get(), encoded, static_cast<size_t>(size), nullptr) != 1 &&
         ERR_GET_REASON(ERR_peek_last_error()) == EC_R_POINT_IS_NOT_ON_CURVE;
}

/// Whether the key names its curve, and does not bring the numbers of one along: those may be those of no good curve.
bool NamesItsCurve(const EVP_PKEY* key) {
  char name[64] = "";
  int isExplicit = 0;
  EVP_PKEY_get_int_param(key, OSSL_PKEY_PARAM_EC_DECODED_FROM_EXPLICIT_PARAMS, &isExplicit);
  return isExplicit == 0 && EVP_PKEY_get_group_name(key, name, sizeof name, nullptr) == 1 && name[0] != '\0';
}

}  // namespace

Wire::Bytes PublicPointFromPem(const Wire::Bytes& pem, const std::string& name) {
  const ScopedBio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
  const ScopedKey key(bio ? PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr) : nullptr, EVP_PKEY_free);
  const ScopedBio again(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
  if (!key && again && IsPointBesideItsCurve(again.get()))
    throw Failure(ExitStatus::Failed, "the public key in " + name + " is not on the curve that it names");
  if (!key || EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_EC)
    throw Failure(ExitStatus::Failed,
                  name + " holds no elliptic-curve public key in PEM form; " + "'openssl pkey -pubout' writes one");
  if (!NamesItsCurve(key.get()))
    throw Failure(ExitStatus::Failed,
                  "the public key in " + name + " has curve parameters of its own; only named " +
                      "curves are used: 'openssl ecparam -param_enc named_curve' makes keys on one");
  Wire::Bytes point = UncompressedPoint(key.get());
  constexpr size_t kAtInfinity = 1;  // the length of its encoding; it makes every secret the same
  if (point.size() <= kAtInfinity)
    throw Failure(ExitStatus::Failed, "the public key in " + name + " is no point with coordinates on its curve");
  return point;
}

Wire::Bytes PemFromCertificate(const Wire::Bytes& der) {
  const ScopedBio bio(BIO_new(BIO_s_mem()), BIO_free);
  if (!bio || PEM_write_bio(bio.get(), PEM_STRING_X509, "", der.data(), static_cast<long>(der.size())) <= 0)
    throw Failure(ExitStatus::Failed, "encoding the certificate failed");
  const char* text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, text + length};
}

}  // namespace Host
