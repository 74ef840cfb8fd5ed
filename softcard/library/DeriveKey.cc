#include "softcard/library/DeriveKey.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

#include <memory>
#include <optional>
#include <stdexcept>

#include "softcard/library/Beneath.h"
#include "softcard/library/Cards.h"

namespace SoftCard {

namespace {

using Bytes = std::vector<unsigned char>;

// Longer than any key agreement asks for; keeps a mistaken length from taking the machine's memory.
constexpr CK_ULONG kLongestSecret = 1UL << 20;

/// Attributes of the caller's choice, completed by ours where the caller says nothing.
class Template {
 public:
  Template(const CK_ATTRIBUTE* attributes, CK_ULONG count) : m_attributes(attributes, attributes + count) {
    Default(CKA_TOKEN, &m_false, sizeof m_false);
    Default(CKA_SENSITIVE, &m_false, sizeof m_false);
    Default(CKA_EXTRACTABLE, &m_true, sizeof m_true);
  }
  Template(const Template&) = delete;
  Template& operator=(const Template&) = delete;

  void Default(CK_ATTRIBUTE_TYPE type, void* value, CK_ULONG length) {
    if (!Find(type)) m_attributes.push_back({type, value, length});
  }
  void Remove(CK_ATTRIBUTE_TYPE type) {
    if (const auto* found = Find(type)) m_attributes.erase(m_attributes.begin() + (found - m_attributes.data()));
  }
  const CK_ATTRIBUTE* Find(CK_ATTRIBUTE_TYPE type) const {
    for (const auto& attribute : m_attributes)
      if (attribute.type == type) return &attribute;
    return nullptr;
  }
  CK_ATTRIBUTE* Data() { return m_attributes.data(); }
  CK_ULONG Count() const { return m_attributes.size(); }

 private:
  CK_BBOOL m_true = CK_TRUE;
  CK_BBOOL m_false = CK_FALSE;
  std::vector<CK_ATTRIBUTE> m_attributes;
};

/// The point as the library beneath wants it. Coordinates come in pairs, so their length is even; with the format byte
/// in front it is odd, and is left alone.
Bytes PointWithFormatByte(const CK_ECDH1_DERIVE_PARAMS& parameters) {
  Bytes point;
  if (parameters.ulPublicDataLen % 2 == 0) point.push_back(POINT_CONVERSION_UNCOMPRESSED);
  point.insert(point.end(), parameters.pPublicData, parameters.pPublicData + parameters.ulPublicDataLen);
  return point;
}

/// Reads and then destroys the raw secret that was derived in `session`.
CK_RV TakeSecret(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, Bytes& secret) {
  CK_ATTRIBUTE value{CKA_VALUE, nullptr, 0};
  auto result = Beneath()->C_GetAttributeValue(session, object, &value, 1);
  if (result == CKR_OK) {
    secret.resize(value.ulValueLen);
    value.pValue = secret.data();
    result = Beneath()->C_GetAttributeValue(session, object, &value, 1);
  }
  Beneath()->C_DestroyObject(session, object);
  return result;
}

CK_RV DeriveBeneath(CK_SESSION_HANDLE session, CK_ECDH1_DERIVE_PARAMS parameters, CK_OBJECT_HANDLE key,
                    CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* derived) {
  auto point = PointWithFormatByte(parameters);
  parameters.pPublicData = point.data();
  parameters.ulPublicDataLen = point.size();
  CK_MECHANISM mechanism{CKM_ECDH1_DERIVE, &parameters, sizeof parameters};
  return Beneath()->C_DeriveKey(session, &mechanism, key, attributes, count, derived);
}

CK_RV DeriveRaw(CK_SESSION_HANDLE session, CK_ECDH1_DERIVE_PARAMS parameters, CK_OBJECT_HANDLE key,
                CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* derived) {
  parameters.kdf = CKD_NULL;
  parameters.pSharedData = nullptr;
  parameters.ulSharedDataLen = 0;
  return DeriveBeneath(session, parameters, key, attributes, count, derived);
}

/// The derivation for a library beneath that knows none.
CK_RV DeriveHashed(CK_SESSION_HANDLE session, const CK_ECDH1_DERIVE_PARAMS& parameters, CK_OBJECT_HANDLE key,
                   Template& wanted, CK_OBJECT_HANDLE* derived) {
  const auto* length = wanted.Find(CKA_VALUE_LEN);
  if (!length) return CKR_TEMPLATE_INCOMPLETE;
  if (!length->pValue || length->ulValueLen != sizeof(CK_ULONG)) return CKR_ATTRIBUTE_VALUE_INVALID;
  CK_ULONG size = 0;
  std::memcpy(&size, length->pValue, sizeof size);
  if (size == 0 || size > kLongestSecret) return CKR_KEY_SIZE_RANGE;

  CK_OBJECT_CLASS secretKey = CKO_SECRET_KEY;
  CK_KEY_TYPE generic = CKK_GENERIC_SECRET;
  Template raw(nullptr, 0);
  raw.Default(CKA_CLASS, &secretKey, sizeof secretKey);
  raw.Default(CKA_KEY_TYPE, &generic, sizeof generic);
  CK_OBJECT_HANDLE rawKey = CK_INVALID_HANDLE;
  auto result = DeriveRaw(session, parameters, key, raw.Data(), raw.Count(), &rawKey);
  if (result != CKR_OK) return result;
  Bytes z;
  result = TakeSecret(session, rawKey, z);
  if (result != CKR_OK) return result;

  const Bytes sharedInfo(parameters.pSharedData, parameters.pSharedData + parameters.ulSharedDataLen);
  auto secret = DeriveX963Sha1(z, sharedInfo, size);
  OPENSSL_cleanse(z.data(), z.size());
  wanted.Remove(CKA_VALUE_LEN);
  wanted.Default(CKA_VALUE, secret.data(), secret.size());
  result = Beneath()->C_CreateObject(session, wanted.Data(), wanted.Count(), derived);
  OPENSSL_cleanse(secret.data(), secret.size());
  return result;
}

}  // namespace

std::vector<unsigned char> DeriveX963Sha1(const Bytes& z, const Bytes& sharedInfo, size_t size) {
  const std::unique_ptr<EVP_KDF, decltype(&EVP_KDF_free)> kdf(EVP_KDF_fetch(nullptr, "X963KDF", nullptr), EVP_KDF_free);
  const std::unique_ptr<EVP_KDF_CTX, decltype(&EVP_KDF_CTX_free)> context(EVP_KDF_CTX_new(kdf.get()), EVP_KDF_CTX_free);
  char digest[] = "SHA1";
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_SECRET, const_cast<unsigned char*>(z.data()), z.size()),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_INFO, const_cast<unsigned char*>(sharedInfo.data()),
                                        sharedInfo.size()),
      OSSL_PARAM_construct_end()};
  Bytes derived(size);
  if (!context || EVP_KDF_derive(context.get(), derived.data(), derived.size(), parameters) != 1)
    throw std::runtime_error("OpenSSL refuses the X9.63 key derivation");
  return derived;
}

CK_RV CardDeriveKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key, CK_ATTRIBUTE* attributes,
                    CK_ULONG count, CK_OBJECT_HANDLE* derived) {
  const auto gone = Cards::Shared().CheckSession(session);
  if (gone != CKR_OK) return gone;
  const bool agreement = mechanism && mechanism->mechanism == CKM_ECDH1_DERIVE && mechanism->pParameter &&
                         mechanism->ulParameterLen == sizeof(CK_ECDH1_DERIVE_PARAMS) && (attributes || count == 0);
  if (!agreement) return Beneath()->C_DeriveKey(session, mechanism, key, attributes, count, derived);

  const auto& parameters = *static_cast<const CK_ECDH1_DERIVE_PARAMS*>(mechanism->pParameter);
  if (!parameters.pPublicData || (!parameters.pSharedData && parameters.ulSharedDataLen > 0) || !derived)
    return CKR_ARGUMENTS_BAD;
  Template wanted(attributes, count);
  if (parameters.kdf == CKD_NULL) return DeriveRaw(session, parameters, key, wanted.Data(), wanted.Count(), derived);
  const auto result = DeriveBeneath(session, parameters, key, attributes, count, derived);
  const bool ours = result == CKR_MECHANISM_PARAM_INVALID && parameters.kdf == CKD_SHA1_KDF;
  return ours ? DeriveHashed(session, parameters, key, wanted, derived) : result;
}

}  // namespace SoftCard
