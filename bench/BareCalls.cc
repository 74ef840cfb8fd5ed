#include "bench/BareCalls.h"

#include <cstdio>
#include <cstdlib>

namespace Bare {
namespace {

constexpr CK_ULONG kBatchSize = 32;
constexpr CK_ULONG kLargestSignature = 512;

void Check(const char* call, CK_RV rv) {
  if (rv == CKR_OK) return;
  std::fprintf(stderr, "%s() => 0x%08lX\n", call, rv);
  std::abort();
}

std::vector<CK_OBJECT_HANDLE> Find(const Card& card, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  Check("C_FindObjectsInit", card.functions->C_FindObjectsInit(card.session, attributes, count));
  std::vector<CK_OBJECT_HANDLE> objects;
  CK_OBJECT_HANDLE batch[kBatchSize];
  CK_ULONG found = 0;
  do {
    Check("C_FindObjects", card.functions->C_FindObjects(card.session, batch, kBatchSize, &found));
    objects.insert(objects.end(), batch, batch + found);
  } while (found != 0);
  Check("C_FindObjectsFinal", card.functions->C_FindObjectsFinal(card.session));
  return objects;
}

std::vector<CK_OBJECT_HANDLE> FindWithID(const Card& card, CK_OBJECT_CLASS objectClass, const ByteString& id) {
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_ID, const_cast<CK_BYTE*>(id.data()), id.size()},
  };
  return Find(card, attributes, 2);
}

ByteString Read(const Card& card, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
  CK_ATTRIBUTE attribute = {type, nullptr, 0};
  Check("C_GetAttributeValue", card.functions->C_GetAttributeValue(card.session, object, &attribute, 1));
  ByteString value(attribute.ulValueLen);
  attribute.pValue = value.data();
  Check("C_GetAttributeValue", card.functions->C_GetAttributeValue(card.session, object, &attribute, 1));
  return value;
}

template <typename Value>
Value ReadValue(const Card& card, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
  Value value{};
  CK_ATTRIBUTE attribute = {type, &value, sizeof value};
  Check("C_GetAttributeValue", card.functions->C_GetAttributeValue(card.session, object, &attribute, 1));
  return value;
}

void ReadPublicKey(const Card& card, CK_OBJECT_HANDLE key) {
  Read(card, key, CKA_LABEL);
  ReadValue<CK_BBOOL>(card, key, CKA_VERIFY);
  if (ReadValue<CK_BBOOL>(card, key, CKA_ENCRYPT)) ReadValue<CK_KEY_TYPE>(card, key, CKA_KEY_TYPE);
}

void ReadCertificates(const Card& card, const Parse& parse) {
  CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
  CK_ULONG category = kCertificateCategoryTokenUser;
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_CERTIFICATE_CATEGORY, &category, sizeof category},
  };
  for (const CK_OBJECT_HANDLE certificate : Find(card, attributes, 2)) {
    const ByteString der = Read(card, certificate, CKA_VALUE);
    Read(card, certificate, CKA_ID);
    Read(card, certificate, CKA_LABEL);
    parse(der);
    const auto keys = FindWithID(card, CKO_PUBLIC_KEY, Read(card, certificate, CKA_ID));
    if (!keys.empty()) ReadPublicKey(card, keys.front());
  }
}

std::vector<CK_SLOT_ID> MatchingSlots(CK_FUNCTION_LIST* functions, const std::string& reader) {
  CK_ULONG count = 0;
  Check("C_GetSlotList", functions->C_GetSlotList(CK_FALSE, nullptr, &count));
  std::vector<CK_SLOT_ID> slots(count), matching;
  Check("C_GetSlotList", functions->C_GetSlotList(CK_FALSE, slots.data(), &count));
  for (const CK_SLOT_ID slot : slots) {
    CK_SLOT_INFO info{};
    Check("C_GetSlotInfo", functions->C_GetSlotInfo(slot, &info));
    const std::string description(std::begin(info.slotDescription), std::end(info.slotDescription));
    if (description.find(reader) != std::string::npos) matching.push_back(slot);
  }
  return matching;
}

}  // namespace

bool IsLoggedIn(const Card& card) {
  CK_SESSION_INFO info{};
  Check("C_GetSessionInfo", card.functions->C_GetSessionInfo(card.session, &info));
  return info.state == CKS_RW_USER_FUNCTIONS || info.state == CKS_RO_USER_FUNCTIONS;
}

CK_OBJECT_HANDLE FindPrivateKey(const Card& card, const ByteString& id) {
  return FindWithID(card, CKO_PRIVATE_KEY, id).at(0);
}

ByteString Sign(const Card& card, const ByteString& id, CK_MECHANISM_TYPE mechanism, const ByteString& data) {
  if (!IsLoggedIn(card)) std::abort();
  CK_MECHANISM chosen = {mechanism, nullptr, 0};
  Check("C_SignInit", card.functions->C_SignInit(card.session, &chosen, FindPrivateKey(card, id)));
  auto* input = const_cast<CK_BYTE*>(data.data());
  CK_ULONG length = 0;
  Check("C_Sign", card.functions->C_Sign(card.session, input, data.size(), nullptr, &length));
  ByteString signature(length);
  Check("C_Sign", card.functions->C_Sign(card.session, input, data.size(), signature.data(), &length));
  return signature;
}

ByteString SignWithKey(const Card& card, CK_OBJECT_HANDLE key, CK_MECHANISM_TYPE mechanism, const ByteString& data) {
  CK_MECHANISM chosen = {mechanism, nullptr, 0};
  Check("C_SignInit", card.functions->C_SignInit(card.session, &chosen, key));
  ByteString signature(kLargestSignature);
  CK_ULONG length = signature.size();
  auto* input = const_cast<CK_BYTE*>(data.data());
  Check("C_Sign", card.functions->C_Sign(card.session, input, data.size(), signature.data(), &length));
  signature.resize(length);
  return signature;
}

ByteString Decrypt(const Card& card, const ByteString& id, const ByteString& ciphertext) {
  if (!IsLoggedIn(card)) std::abort();
  CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
  Check("C_DecryptInit", card.functions->C_DecryptInit(card.session, &mechanism, FindPrivateKey(card, id)));
  auto* input = const_cast<CK_BYTE*>(ciphertext.data());
  CK_ULONG length = 0;
  Check("C_Decrypt", card.functions->C_Decrypt(card.session, input, ciphertext.size(), nullptr, &length));
  ByteString plaintext(length);
  Check("C_Decrypt", card.functions->C_Decrypt(card.session, input, ciphertext.size(), plaintext.data(), &length));
  plaintext.resize(length);
  return plaintext;
}

ByteString DecryptWithKey(const Card& card, CK_OBJECT_HANDLE key, const ByteString& ciphertext) {
  CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
  Check("C_DecryptInit", card.functions->C_DecryptInit(card.session, &mechanism, key));
  ByteString plaintext(ciphertext.size());
  CK_ULONG length = plaintext.size();
  auto* input = const_cast<CK_BYTE*>(ciphertext.data());
  Check("C_Decrypt", card.functions->C_Decrypt(card.session, input, ciphertext.size(), plaintext.data(), &length));
  plaintext.resize(length);
  return plaintext;
}

ByteString Agree(const Card& card, const ByteString& id, const ByteString& point, CK_ULONG size) {
  if (!IsLoggedIn(card)) std::abort();
  return AgreeWithKey(card, FindPrivateKey(card, id), point, size);
}

ByteString AgreeWithKey(const Card& card, CK_OBJECT_HANDLE key, const ByteString& point, CK_ULONG size) {
  CK_ECDH1_DERIVE_PARAMS parameter{};
  parameter.kdf = CKD_SHA1_KDF;
  parameter.ulPublicDataLen = point.size();
  parameter.pPublicData = const_cast<CK_BYTE*>(point.data());
  CK_MECHANISM mechanism = {CKM_ECDH1_DERIVE, &parameter, sizeof parameter};
  CK_OBJECT_CLASS objectClass = CKO_SECRET_KEY;
  CK_KEY_TYPE keyType = CKK_GENERIC_SECRET;
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_KEY_TYPE, &keyType, sizeof keyType},
      {CKA_VALUE_LEN, &size, sizeof size},
  };
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  Check("C_DeriveKey", card.functions->C_DeriveKey(card.session, &mechanism, key, attributes, 3, &derived));
  return Read(card, derived, CKA_VALUE);
}

bool Derives(CK_FUNCTION_LIST* functions, CK_SLOT_ID slot) {
  CK_MECHANISM_INFO info{};
  return functions->C_GetMechanismInfo(slot, CKM_ECDH1_DERIVE, &info) == CKR_OK;
}

void Construct(CK_FUNCTION_LIST* functions, const std::string& reader, const Parse& parse) {
  const auto slots = MatchingSlots(functions, reader);
  for (const CK_SLOT_ID slot : slots) functions->C_CloseAllSessions(slot);
  std::vector<CK_SESSION_HANDLE> sessions;
  for (const CK_SLOT_ID slot : slots) {
    CK_TOKEN_INFO info{};
    if (sessions.empty()) Check("C_GetTokenInfo", functions->C_GetTokenInfo(slot, &info));
    CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
    constexpr CK_FLAGS flags = CKF_SERIAL_SESSION | CKF_RW_SESSION;
    Check("C_OpenSession", functions->C_OpenSession(slot, flags, nullptr, nullptr, &session));
    sessions.push_back(session);
    ReadCertificates({functions, session}, parse);
  }
  for (const CK_SESSION_HANDLE session : sessions) Check("C_CloseSession", functions->C_CloseSession(session));
}

}  // namespace Bare
