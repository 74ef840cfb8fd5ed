// A PKCS#11 library that answers at once: what is left of an operation's time is the caller's own.
//
// $QEL_NULL_CARD_SLOTS (1 when not set) slots, each with the card of a user who is logged in.
// $QEL_NULL_CARD_CERTIFICATES (2 when not set) says how many certificates there are in each when a session is opened,
// each with its key pair. Of these the second is an EC certificate, all others are RSA. The CKA_ID is the number from
// 1, four bytes, most significant first.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "bench/NullCard.h"
#include "pkcs11/Cryptoki.h"
#include "tests/support/TestCertificates.h"

namespace {

constexpr CK_ULONG kObjectsPerKind = 1UL << 20;
constexpr CK_OBJECT_HANDLE kDerivedKey = 1;
constexpr CK_ULONG kLabelLength = 12;

CK_ULONG s_certificates = 2;
CK_OBJECT_HANDLE s_next = 0, s_end = 0;  // what the search has not given yet

CK_OBJECT_HANDLE HandleOf(CK_OBJECT_CLASS kind, CK_ULONG number) {
  return (kind + 1) * kObjectsPerKind + number;
}
CK_OBJECT_CLASS KindOf(CK_OBJECT_HANDLE handle) {
  return handle / kObjectsPerKind - 1;
}
CK_ULONG NumberOf(CK_OBJECT_HANDLE handle) {
  return handle % kObjectsPerKind;
}
bool IsEC(CK_OBJECT_HANDLE handle) {
  return NumberOf(handle) == 2;
}

template <typename Bytes>
CK_RV Answer(CK_ATTRIBUTE& attribute, const Bytes* bytes, CK_ULONG length) {
  if (attribute.pValue != nullptr) std::memcpy(attribute.pValue, bytes, length);
  attribute.ulValueLen = length;
  return CKR_OK;
}

CK_RV AnswerNumber(CK_ATTRIBUTE& attribute, CK_ULONG number) {
  return Answer(attribute, &number, sizeof number);
}

CK_RV GiveBytes(CK_BYTE* output, CK_ULONG* length, CK_ULONG announced) {
  if (output != nullptr) std::memset(output, 0x5A, announced);
  *length = announced;
  return CKR_OK;
}

void Pad(CK_UTF8CHAR* field, size_t size, const char* text) {
  std::memset(field, ' ', size);
  std::memcpy(field, text, std::strlen(text));
}

CK_ULONG FromEnvironment(const char* variable, CK_ULONG otherwise) {
  const char* const number = std::getenv(variable);
  return number != nullptr ? std::strtoul(number, nullptr, 10) : otherwise;
}

CK_RV Initialize(void*) {
  TestCertificates::Rsa();
  TestCertificates::Ec();
  return CKR_OK;
}

CK_RV Finalize(void*) {
  return CKR_OK;
}

CK_RV GetSlotList(CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) {
  *count = FromEnvironment(NullCard::kSlots, 1);
  for (CK_ULONG slot = 0; slots != nullptr && slot < *count; ++slot) slots[slot] = slot;
  return CKR_OK;
}

CK_RV GetSlotInfo(CK_SLOT_ID, CK_SLOT_INFO* info) {
  Pad(info->slotDescription, sizeof info->slotDescription, NullCard::kReader);
  return CKR_OK;
}

CK_RV GetTokenInfo(CK_SLOT_ID, CK_TOKEN_INFO* info) {
  Pad(info->serialNumber, sizeof info->serialNumber, "0");
  info->flags = CKF_TOKEN_INITIALIZED;
  return CKR_OK;
}

CK_RV GetMechanismInfo(CK_SLOT_ID, CK_MECHANISM_TYPE, CK_MECHANISM_INFO*) {
  return CKR_OK;
}

CK_RV OpenSession(CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
  s_certificates = FromEnvironment(NullCard::kCertificates, 2);
  *session = 1;
  return CKR_OK;
}

CK_RV CloseSession(CK_SESSION_HANDLE) {
  return CKR_OK;
}

CK_RV CloseAllSessions(CK_SLOT_ID) {
  return CKR_OK;
}

CK_RV GetSessionInfo(CK_SESSION_HANDLE, CK_SESSION_INFO* info) {
  info->state = CKS_RW_USER_FUNCTIONS;
  return CKR_OK;
}

/// A search with a CKA_ID asks for one key, one without for all certificates.
CK_RV FindObjectsInit(CK_SESSION_HANDLE, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  const auto kind = *static_cast<CK_OBJECT_CLASS*>(attributes[0].pValue);
  CK_ULONG first = 1, last = s_certificates;
  if (count == 2 && attributes[1].type == CKA_ID) {
    const auto* id = static_cast<const CK_BYTE*>(attributes[1].pValue);
    first = last = (CK_ULONG{id[0]} << 24) | (CK_ULONG{id[1]} << 16) | (CK_ULONG{id[2]} << 8) | id[3];
  }
  s_next = HandleOf(kind, first);
  s_end = HandleOf(kind, last) + 1;
  return CKR_OK;
}

CK_RV FindObjects(CK_SESSION_HANDLE, CK_OBJECT_HANDLE* objects, CK_ULONG most, CK_ULONG* count) {
  *count = std::min(most, s_end - s_next);
  for (CK_ULONG i = 0; i < *count; ++i) objects[i] = s_next++;
  return CKR_OK;
}

CK_RV FindObjectsFinal(CK_SESSION_HANDLE) {
  return CKR_OK;
}

CK_RV GetAttributeValue(CK_SESSION_HANDLE, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attribute, CK_ULONG) {
  static const CK_BYTE yes = CK_TRUE;
  if (object == kDerivedKey) return Answer(*attribute, "derived key, thirty-two bytes...", 32);
  const CK_ULONG number = NumberOf(object);
  const CK_BYTE id[] = {static_cast<CK_BYTE>(number >> 24), static_cast<CK_BYTE>(number >> 16),
                        static_cast<CK_BYTE>(number >> 8), static_cast<CK_BYTE>(number)};
  switch (attribute->type) {
    case CKA_ID:
      return Answer(*attribute, id, sizeof id);
    case CKA_LABEL:
      return Answer(*attribute, KindOf(object) == CKO_CERTIFICATE ? "Certificate " : "Key         ", kLabelLength);
    case CKA_VALUE: {
      static const auto rsa = TestCertificates::Rsa(), ec = TestCertificates::Ec();
      const auto& der = IsEC(object) ? ec : rsa;
      return Answer(*attribute, der.data(), der.size());
    }
    case CKA_VERIFY:
    case CKA_ENCRYPT:
      return Answer(*attribute, &yes, sizeof yes);
    case CKA_KEY_TYPE:
      return AnswerNumber(*attribute, IsEC(object) ? CKK_EC : CKK_RSA);
    default:
      return CKR_ATTRIBUTE_TYPE_INVALID;
  }
}

CK_MECHANISM_TYPE s_mechanism = 0;

CK_RV OperationInit(CK_SESSION_HANDLE, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE) {
  s_mechanism = mechanism->mechanism;
  return CKR_OK;
}

CK_RV Sign(CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE* signature, CK_ULONG* length) {
  return GiveBytes(signature, length, s_mechanism == CKM_ECDSA ? 64 : 256);
}

CK_RV Decrypt(CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE* plaintext, CK_ULONG* length) {
  if (plaintext == nullptr) return GiveBytes(nullptr, length, 256);
  return GiveBytes(plaintext, length, 32);
}

CK_RV DeriveKey(CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE* key) {
  *key = kDerivedKey;
  return CKR_OK;
}

CK_FUNCTION_LIST MakeFunctions() {
  CK_FUNCTION_LIST list{};
  list.C_Initialize = Initialize;
  list.C_Finalize = Finalize;
  list.C_GetSlotList = GetSlotList;
  list.C_GetSlotInfo = GetSlotInfo;
  list.C_GetTokenInfo = GetTokenInfo;
  list.C_GetMechanismInfo = GetMechanismInfo;
  list.C_OpenSession = OpenSession;
  list.C_CloseSession = CloseSession;
  list.C_CloseAllSessions = CloseAllSessions;
  list.C_GetSessionInfo = GetSessionInfo;
  list.C_FindObjectsInit = FindObjectsInit;
  list.C_FindObjects = FindObjects;
  list.C_FindObjectsFinal = FindObjectsFinal;
  list.C_GetAttributeValue = GetAttributeValue;
  list.C_SignInit = OperationInit;
  list.C_Sign = Sign;
  list.C_DecryptInit = OperationInit;
  list.C_Decrypt = Decrypt;
  list.C_DeriveKey = DeriveKey;
  return list;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  static CK_FUNCTION_LIST functions = MakeFunctions();
  *list = &functions;
  return CKR_OK;
}
