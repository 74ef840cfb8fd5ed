#include "host/module/Objects.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "host/keys/PublicKeyParts.h"
#include "platform/wire/Hex.h"

namespace Host {
namespace {

using Attributes = std::map<CK_ATTRIBUTE_TYPE, Wire::Bytes>;
using ScopedCertificate = std::unique_ptr<X509, decltype(&X509_free)>;
using ScopedOid = std::unique_ptr<ASN1_OBJECT, decltype(&ASN1_OBJECT_free)>;
using ScopedOctets = std::unique_ptr<ASN1_OCTET_STRING, decltype(&ASN1_OCTET_STRING_free)>;
using Wire::Item;

Wire::Bytes Number(CK_ULONG value) {
  Wire::Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

Wire::Bytes Flag(bool value) {
  return {static_cast<uint8_t>(value ? CK_TRUE : CK_FALSE)};
}

Wire::Bytes Text(const std::string& text) {
  return {text.begin(), text.end()};
}

/// What one of OpenSSL's i2d functions writes.
template <class Encode, class Object>
Wire::Bytes Der(Encode encode, Object* object) {
  const int length = encode(object, nullptr);
  Wire::Bytes bytes(static_cast<size_t>(std::max(length, 0)));
  uint8_t* end = bytes.data();
  if (length > 0) encode(object, &end);
  return bytes;
}

Wire::Bytes CurveOf(const EVP_PKEY* key) {
  char group[64] = "";
  EVP_PKEY_get_group_name(key, group, sizeof group, nullptr);
  const ScopedOid oid(OBJ_txt2obj(group, 0), ASN1_OBJECT_free);
  return oid ? Der(i2d_ASN1_OBJECT, oid.get()) : Wire::Bytes();
}

Wire::Bytes PointOf(EVP_PKEY* key) {
  const Wire::Bytes point = UncompressedPoint(key);
  const ScopedOctets octets(ASN1_OCTET_STRING_new(), ASN1_OCTET_STRING_free);
  if (!octets || ASN1_OCTET_STRING_set(octets.get(), point.data(), static_cast<int>(point.size())) != 1) return {};
  return Der(i2d_ASN1_OCTET_STRING, octets.get());
}

/// What public and private key share.
Attributes KeyAttributes(EVP_PKEY* key) {
  if (EVP_PKEY_get_base_id(key) == EVP_PKEY_RSA)
    return {{CKA_KEY_TYPE, Number(CKK_RSA)},
            {CKA_MODULUS, NumberOf(key, OSSL_PKEY_PARAM_RSA_N)},
            {CKA_MODULUS_BITS, Number(static_cast<CK_ULONG>(EVP_PKEY_get_bits(key)))},
            {CKA_PUBLIC_EXPONENT, NumberOf(key, OSSL_PKEY_PARAM_RSA_E)}};
  return {{CKA_KEY_TYPE, Number(CKK_EC)}, {CKA_EC_PARAMS, CurveOf(key)}, {CKA_EC_POINT, PointOf(key)}};
}

Attributes Common(CK_OBJECT_CLASS kind, const std::string& label, const Wire::Bytes& id, bool isPrivate) {
  return {{CKA_CLASS, Number(kind)},     {CKA_TOKEN, Flag(true)},  {CKA_PRIVATE, Flag(isPrivate)},
          {CKA_MODIFIABLE, Flag(false)}, {CKA_LABEL, Text(label)}, {CKA_ID, id}};
}

void Add(Attributes& attributes, const Attributes& more) {
  attributes.insert(more.begin(), more.end());
}

ModuleObject CertificateObject(const Item& item, X509* certificate, const Wire::Bytes& id) {
  ModuleObject object{Common(CKO_CERTIFICATE, item.label.value_or(""), id, false), nullptr};
  Add(object.attributes, {{CKA_CERTIFICATE_TYPE, Number(CKC_X_509)},
                          {CKA_TRUSTED, Flag(false)},
                          {CKA_VALUE, item.certificate},
                          {CKA_SUBJECT, Der(i2d_X509_NAME, X509_get_subject_name(certificate))},
                          {CKA_ISSUER, Der(i2d_X509_NAME, X509_get_issuer_name(certificate))},
                          {CKA_SERIAL_NUMBER, Der(i2d_ASN1_INTEGER, X509_get_serialNumber(certificate))}});
  return object;
}

ModuleObject PublicKeyObject(const Item& key, const Attributes& parts, const Wire::Bytes& id) {
  ModuleObject object{Common(CKO_PUBLIC_KEY, key.label.value_or(""), id, false), nullptr};
  Add(object.attributes, parts);
  Add(object.attributes, {{CKA_VERIFY, Flag(key.canSign)}, {CKA_ENCRYPT, Flag(key.canDecrypt)}});
  return object;
}

ModuleObject PrivateKeyObject(const Item& key, const Attributes& parts, const Wire::Bytes& id) {
  ModuleObject object{Common(CKO_PRIVATE_KEY, key.label.value_or(""), id, true), &key};
  Add(object.attributes, parts);
  const bool isRsa = object.attributes.count(CKA_MODULUS) != 0;
  Add(object.attributes, {{CKA_SENSITIVE, Flag(true)},
                          {CKA_EXTRACTABLE, Flag(false)},
                          {CKA_ALWAYS_AUTHENTICATE, Flag(false)},
                          {CKA_SIGN, Flag(key.canSign)},
                          {CKA_DECRYPT, Flag(key.canDecrypt && isRsa)},
                          {CKA_DERIVE, Flag(false)}});
  return object;
}

void AddObjectsOf(const Item& item, const std::vector<Item>& items, std::vector<ModuleObject>& objects) {
  const uint8_t* at = item.certificate.data();
  const ScopedCertificate certificate(d2i_X509(nullptr, &at, static_cast<long>(item.certificate.size())), X509_free);
  EVP_PKEY* const publicKey = certificate ? X509_get0_pubkey(certificate.get()) : nullptr;
  if (!publicKey) return;
  const Wire::Bytes hash = PublicKeyHash(certificate.get());
  const auto key = std::find_if(items.begin(), items.end(), [&](const Item& other) {
    return other.kind == Item::Kind::Key && other.publicKeyHash == hash;
  });
  const Item& named = key == items.end() ? item : *key;
  const Wire::Bytes id = Wire::FromHex(named.objectID).value_or(Wire::Bytes());
  objects.push_back(CertificateObject(item, certificate.get(), id));
  if (key == items.end()) return;
  const Attributes parts = KeyAttributes(publicKey);
  objects.push_back(PublicKeyObject(*key, parts, id));
  objects.push_back(PrivateKeyObject(*key, parts, id));
}

}  // namespace

bool ModuleObject::Matches(const CK_ATTRIBUTE* wanted, CK_ULONG count) const {
  return std::all_of(wanted, wanted + count, [this](const CK_ATTRIBUTE& attribute) {
    const auto found = attributes.find(attribute.type);
    return found != attributes.end() && found->second.size() == attribute.ulValueLen &&
           std::equal(found->second.begin(), found->second.end(), static_cast<const uint8_t*>(attribute.pValue));
  });
}

CK_RV ModuleObject::Read(CK_ATTRIBUTE* wanted, CK_ULONG count) const {
  CK_RV result = CKR_OK;
  for (CK_ATTRIBUTE* attribute = wanted; attribute != wanted + count; ++attribute) {
    const auto found = attributes.find(attribute->type);
    if (found == attributes.end()) {
      attribute->ulValueLen = CK_UNAVAILABLE_INFORMATION;
      result = CKR_ATTRIBUTE_TYPE_INVALID;
      continue;
    }
    const Wire::Bytes& value = found->second;
    const bool hasRoom = !attribute->pValue || attribute->ulValueLen >= value.size();
    if (attribute->pValue && hasRoom) std::copy(value.begin(), value.end(), static_cast<uint8_t*>(attribute->pValue));
    if (!hasRoom) result = CKR_BUFFER_TOO_SMALL;
    attribute->ulValueLen = hasRoom ? value.size() : CK_UNAVAILABLE_INFORMATION;
  }
  return result;
}

size_t ModuleObject::SignatureLength() const {
  const size_t bytes = static_cast<size_t>(key->keySizeInBits + 7) / 8;
  return attributes.count(CKA_MODULUS) != 0 ? bytes : 2 * bytes;
}

std::vector<ModuleObject> ObjectsOf(const std::vector<Item>& items) {
  std::vector<ModuleObject> objects;
  for (const Item& item : items)
    if (item.kind == Item::Kind::Certificate) AddObjectsOf(item, items, objects);
  return objects;
}

}  // namespace Host
