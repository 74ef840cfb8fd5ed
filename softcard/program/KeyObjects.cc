#include "softcard/program/KeyObjects.h"

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/param_build.h>

#include <algorithm>
#include <stdexcept>

namespace SoftCard {

namespace {

struct Curve {
  const char* type;  ///< As the command line has it.
  const char* name;
  int nid;
};

constexpr Curve kCurves[] = {
    {"p256", "P-256", NID_X9_62_prime256v1}, {"p384", "P-384", NID_secp384r1}, {"p521", "P-521", NID_secp521r1}};

const Curve& CurveOfType(const std::string& type) {
  for (const auto& curve : kCurves)
    if (type == curve.type) return curve;
  throw std::runtime_error(type + ": no such key type; known are rsaBITS, p256, p384 and p521");
}

const Curve& CurveOfKey(const EVP_PKEY* key) {
  char group[64] = "";
  EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group, nullptr);
  for (const auto& curve : kCurves)
    if (OBJ_sn2nid(group) == curve.nid || EC_curve_nist2nid(group) == curve.nid) return curve;
  throw std::runtime_error("a soft card takes EC keys on P-256, P-384 and P-521 only");
}

bool IsRsa(const std::string& type) {
  return type.compare(0, 3, "rsa") == 0;
}

bool IsRsa(const EVP_PKEY* key) {
  return EVP_PKEY_get_base_id(key) == EVP_PKEY_RSA;
}

Bytes EcParameters(const Curve& curve) {
  return Der(OBJ_nid2obj(curve.nid), i2d_ASN1_OBJECT);
}

/// The key's number of that name, big-endian, filled with zeros to `length` bytes.
Bytes Number(const EVP_PKEY* key, const char* name, int length = 0) {
  BIGNUM* found = nullptr;
  if (EVP_PKEY_get_bn_param(key, name, &found) != 1) FailInOpenssl(std::string("reading the key's ") + name);
  const std::unique_ptr<BIGNUM, OpensslFree<BN_clear_free>> number(found);
  Bytes bytes(static_cast<size_t>(std::max(length, BN_num_bytes(found))));
  BN_bn2binpad(found, bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

int CoordinateLength(const EVP_PKEY* key) {
  return (EVP_PKEY_get_bits(key) + 7) / 8;
}

/// The uncompressed point as the octet string that CKA_EC_POINT holds.
Bytes EcPoint(const EVP_PKEY* key) {
  Bytes point{POINT_CONVERSION_UNCOMPRESSED};
  for (const char* coordinate : {OSSL_PKEY_PARAM_EC_PUB_X, OSSL_PKEY_PARAM_EC_PUB_Y}) {
    const auto bytes = Number(key, coordinate, CoordinateLength(key));
    point.insert(point.end(), bytes.begin(), bytes.end());
  }
  const std::unique_ptr<ASN1_OCTET_STRING, OpensslFree<ASN1_OCTET_STRING_free>> octets(ASN1_OCTET_STRING_new());
  ASN1_OCTET_STRING_set(octets.get(), point.data(), static_cast<int>(point.size()));
  return Der(octets.get(), i2d_ASN1_OCTET_STRING);
}

KeyPointer PublicKey(const char* type, OSSL_PARAM_BLD* parameters) {
  const std::unique_ptr<OSSL_PARAM, OpensslFree<OSSL_PARAM_free>> built(OSSL_PARAM_BLD_to_param(parameters));
  const std::unique_ptr<EVP_PKEY_CTX, OpensslFree<EVP_PKEY_CTX_free>> context(
      EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
  EVP_PKEY* key = nullptr;
  if (!built || !context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
      EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, built.get()) != 1)
    FailInOpenssl("taking over the card's public key");
  return KeyPointer(key);
}

using ParameterBuilder = std::unique_ptr<OSSL_PARAM_BLD, OpensslFree<OSSL_PARAM_BLD_free>>;
using NumberPointer = std::unique_ptr<BIGNUM, OpensslFree<BN_free>>;

KeyPointer ReadRsaPublicKey(const LoggedInSession& session, CK_OBJECT_HANDLE object) {
  const auto read = [&](CK_ATTRIBUTE_TYPE type) {
    const auto bytes = session.Attribute(object, type);
    return NumberPointer(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
  };
  const auto modulus = read(CKA_MODULUS);
  const auto exponent = read(CKA_PUBLIC_EXPONENT);
  const ParameterBuilder parameters(OSSL_PARAM_BLD_new());
  OSSL_PARAM_BLD_push_BN(parameters.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get());
  OSSL_PARAM_BLD_push_BN(parameters.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get());
  return PublicKey("RSA", parameters.get());
}

KeyPointer ReadEcPublicKey(const LoggedInSession& session, CK_OBJECT_HANDLE object, const Curve& curve) {
  const auto encoded = session.Attribute(object, CKA_EC_POINT);
  const auto* in = encoded.data();
  const std::unique_ptr<ASN1_OCTET_STRING, OpensslFree<ASN1_OCTET_STRING_free>> point(
      d2i_ASN1_OCTET_STRING(nullptr, &in, static_cast<long>(encoded.size())));
  if (!point) FailInOpenssl("the card's EC point");
  const ParameterBuilder parameters(OSSL_PARAM_BLD_new());
  OSSL_PARAM_BLD_push_utf8_string(parameters.get(), OSSL_PKEY_PARAM_GROUP_NAME, curve.name, 0);
  OSSL_PARAM_BLD_push_octet_string(parameters.get(), OSSL_PKEY_PARAM_PUB_KEY, ASN1_STRING_get0_data(point.get()),
                                   static_cast<size_t>(ASN1_STRING_length(point.get())));
  return PublicKey("EC", parameters.get());
}

void AddCommon(Attributes& attributes, CK_OBJECT_CLASS type, const ObjectNames& names, bool isPrivate) {
  attributes.AddNumber(CKA_CLASS, type)
      .AddFlag(CKA_TOKEN, true)
      .AddFlag(CKA_PRIVATE, isPrivate)
      .AddText(CKA_LABEL, names.label)
      .Add(CKA_ID, names.id);
}

void AddPublic(Attributes& attributes, bool rsa, const ObjectNames& names) {
  AddCommon(attributes, CKO_PUBLIC_KEY, names, false);
  attributes.AddNumber(CKA_KEY_TYPE, rsa ? CKK_RSA : CKK_EC).AddFlag(CKA_VERIFY, true).AddFlag(CKA_ENCRYPT, true);
}

void AddPrivate(Attributes& attributes, bool rsa, const ObjectNames& names) {
  AddCommon(attributes, CKO_PRIVATE_KEY, names, true);
  attributes.AddNumber(CKA_KEY_TYPE, rsa ? CKK_RSA : CKK_EC)
      .AddFlag(CKA_SENSITIVE, true)
      .AddFlag(CKA_EXTRACTABLE, false)
      .AddFlag(CKA_SIGN, true)
      .AddFlag(rsa ? CKA_DECRYPT : CKA_DERIVE, true);
}

CK_OBJECT_HANDLE Create(const LoggedInSession& session, Attributes& attributes) {
  CK_OBJECT_HANDLE object = CK_INVALID_HANDLE;
  Require("C_CreateObject", session->C_CreateObject(session.Handle(), attributes.Data(), attributes.Count(), &object));
  return object;
}

}  // namespace

KeyPointer GenerateKeyPair(const LoggedInSession& session, const std::string& type, const ObjectNames& names) {
  const bool rsa = IsRsa(type);
  Attributes publicPart;
  Attributes privatePart;
  AddPublic(publicPart, rsa, names);
  AddPrivate(privatePart, rsa, names);
  if (rsa)
    publicPart.AddNumber(CKA_MODULUS_BITS, std::stoul(type.substr(3))).Add(CKA_PUBLIC_EXPONENT, {1, 0, 1});
  else
    publicPart.Add(CKA_EC_PARAMS, EcParameters(CurveOfType(type)));
  CK_MECHANISM mechanism{rsa ? CKM_RSA_PKCS_KEY_PAIR_GEN : CKM_EC_KEY_PAIR_GEN, nullptr, 0};
  CK_OBJECT_HANDLE publicKey = CK_INVALID_HANDLE;
  CK_OBJECT_HANDLE privateKey = CK_INVALID_HANDLE;
  Require("C_GenerateKeyPair",
          session->C_GenerateKeyPair(session.Handle(), &mechanism, publicPart.Data(), publicPart.Count(),
                                     privatePart.Data(), privatePart.Count(), &publicKey, &privateKey));
  return rsa ? ReadRsaPublicKey(session, publicKey) : ReadEcPublicKey(session, publicKey, CurveOfType(type));
}

void ImportKeyPair(const LoggedInSession& session, const EVP_PKEY* key, const ObjectNames& names) {
  const bool rsa = IsRsa(key);
  Attributes publicPart;
  Attributes privatePart;
  AddPublic(publicPart, rsa, names);
  AddPrivate(privatePart, rsa, names);
  if (rsa) {
    for (auto* part : {&publicPart, &privatePart})
      part->Add(CKA_MODULUS, Number(key, OSSL_PKEY_PARAM_RSA_N))
          .Add(CKA_PUBLIC_EXPONENT, Number(key, OSSL_PKEY_PARAM_RSA_E));
    privatePart.Add(CKA_PRIVATE_EXPONENT, Number(key, OSSL_PKEY_PARAM_RSA_D))
        .Add(CKA_PRIME_1, Number(key, OSSL_PKEY_PARAM_RSA_FACTOR1))
        .Add(CKA_PRIME_2, Number(key, OSSL_PKEY_PARAM_RSA_FACTOR2))
        .Add(CKA_EXPONENT_1, Number(key, OSSL_PKEY_PARAM_RSA_EXPONENT1))
        .Add(CKA_EXPONENT_2, Number(key, OSSL_PKEY_PARAM_RSA_EXPONENT2))
        .Add(CKA_COEFFICIENT, Number(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1));
  } else {
    for (auto* part : {&publicPart, &privatePart}) part->Add(CKA_EC_PARAMS, EcParameters(CurveOfKey(key)));
    publicPart.Add(CKA_EC_POINT, EcPoint(key));
    privatePart.Add(CKA_VALUE, Number(key, OSSL_PKEY_PARAM_PRIV_KEY, CoordinateLength(key)));
  }
  Create(session, publicPart);
  Create(session, privatePart);
}

void StoreCertificate(const LoggedInSession& session, const X509* certificate, CK_ULONG category,
                      const ObjectNames& names) {
  Attributes attributes;
  AddCommon(attributes, CKO_CERTIFICATE, names, false);
  attributes.AddNumber(CKA_CERTIFICATE_TYPE, CKC_X_509)
      .AddNumber(CKA_CERTIFICATE_CATEGORY, category)
      .Add(CKA_SUBJECT, Der(X509_get_subject_name(certificate), i2d_X509_NAME))
      .Add(CKA_ISSUER, Der(X509_get_issuer_name(certificate), i2d_X509_NAME))
      .Add(CKA_SERIAL_NUMBER, Der(X509_get0_serialNumber(certificate), i2d_ASN1_INTEGER))
      .Add(CKA_VALUE, Der(certificate, i2d_X509));
  Create(session, attributes);
}

std::string Describe(const EVP_PKEY* key) {
  if (IsRsa(key)) return "RSA-" + std::to_string(EVP_PKEY_get_bits(key));
  if (EVP_PKEY_get_base_id(key) == EVP_PKEY_EC) return std::string("EC ") + CurveOfKey(key).name;
  throw std::runtime_error("a soft card takes RSA and EC keys only");
}

std::string Describe(const std::string& type) {
  return IsRsa(type) ? "RSA-" + type.substr(3) : std::string("EC ") + CurveOfType(type).name;
}

}  // namespace SoftCard
