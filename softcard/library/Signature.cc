#include "softcard/library/Signature.h"

#include <openssl/ec.h>

#include <memory>
#include <vector>

#include "softcard/library/Beneath.h"
#include "softcard/library/Cards.h"

namespace SoftCard {

namespace {

bool IsEcdsa(CK_MECHANISM_TYPE mechanism) {
  return mechanism >= CKM_ECDSA && mechanism <= CKM_ECDSA_SHA512;
}

/// Twice the length of the order of the key's curve; none when the key does not tell its curve.
std::optional<CK_ULONG> EcdsaLength(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE key) {
  CK_ATTRIBUTE curve{CKA_EC_PARAMS, nullptr, 0};
  if (Beneath()->C_GetAttributeValue(session, key, &curve, 1) != CKR_OK) return {};
  std::vector<unsigned char> der(curve.ulValueLen);
  curve.pValue = der.data();
  if (Beneath()->C_GetAttributeValue(session, key, &curve, 1) != CKR_OK) return {};
  const auto* in = der.data();
  const std::unique_ptr<EC_GROUP, decltype(&EC_GROUP_free)> group(
      d2i_ECPKParameters(nullptr, &in, static_cast<long>(der.size())), EC_GROUP_free);
  if (!group) return {};
  return (static_cast<CK_ULONG>(EC_GROUP_order_bits(group.get())) + 7) / 8 * 2;
}

}  // namespace

CK_RV CardSignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  const auto gone = Cards::Shared().CheckSession(session);
  const auto result = gone == CKR_OK ? Beneath()->C_SignInit(session, mechanism, key) : gone;
  if (result == CKR_OK)
    Cards::Shared().SignatureBegun(session, IsEcdsa(mechanism->mechanism) ? key : CK_INVALID_HANDLE);
  return result;
}

CK_RV CardSign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
               CK_ULONG* signatureLength) {
  const auto gone = Cards::Shared().CheckSession(session);
  const auto result = gone == CKR_OK ? Beneath()->C_Sign(session, data, length, signature, signatureLength) : gone;
  const auto key = Cards::Shared().EcdsaKeyOf(session);
  if (result != CKR_OK || signature || key == CK_INVALID_HANDLE) return result;
  *signatureLength = EcdsaLength(session, key).value_or(*signatureLength);
  return result;
}

}  // namespace SoftCard
