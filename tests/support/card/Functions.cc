// The PKCS#11 functions that the product calls, each turned into a Call for the card in force.

#include "tests/support/card/Card.h"

namespace TestCard {
namespace {

CK_RV Ask(Call call) {
  Card* card = CurrentCard();
  return card != nullptr ? card->Handle(call) : CKR_GENERAL_ERROR;
}

Call Named(const char* name) {
  Call call;
  call.name = name;
  return call;
}

Call OnSlot(const char* name, CK_SLOT_ID slot) {
  Call call = Named(name);
  call.slot = slot;
  return call;
}

Call OnSession(const char* name, CK_SESSION_HANDLE session) {
  Call call = Named(name);
  call.session = session;
  return call;
}

CK_RV Initialize(void* arguments) {
  Call call = Named("C_Initialize");
  call.output = arguments;
  if (arguments != nullptr) call.flags = static_cast<CK_C_INITIALIZE_ARGS*>(arguments)->flags;
  return Ask(call);
}

CK_RV Finalize(void* reserved) {
  Call call = Named("C_Finalize");
  call.output = reserved;
  return Ask(call);
}

CK_RV GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count) {
  Call call = Named("C_GetSlotList");
  call.tokenPresent = tokenPresent;
  call.output = slots;
  call.outputLength = count;
  return Ask(call);
}

CK_RV GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
  Call call = OnSlot("C_GetSlotInfo", slot);
  call.output = info;
  return Ask(call);
}

CK_RV GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
  Call call = OnSlot("C_GetTokenInfo", slot);
  call.output = info;
  return Ask(call);
}

CK_RV GetMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO* info) {
  Call call = OnSlot("C_GetMechanismInfo", slot);
  call.mechanismType = type;
  call.output = info;
  return Ask(call);
}

CK_RV OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session) {
  Call call = OnSlot("C_OpenSession", slot);
  call.flags = flags;
  call.notifies = application != nullptr || notify != nullptr;
  call.output = session;
  return Ask(call);
}

CK_RV CloseSession(CK_SESSION_HANDLE session) {
  return Ask(OnSession("C_CloseSession", session));
}

CK_RV CloseAllSessions(CK_SLOT_ID slot) {
  return Ask(OnSlot("C_CloseAllSessions", slot));
}

CK_RV GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info) {
  Call call = OnSession("C_GetSessionInfo", session);
  call.output = info;
  return Ask(call);
}

CK_RV Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG length) {
  Call call = OnSession("C_Login", session);
  call.userType = user;
  call.input = pin;
  call.inputLength = length;
  return Ask(call);
}

CK_RV GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  Call call = OnSession("C_GetAttributeValue", session);
  call.object = object;
  call.attributes = attributes;
  call.attributeCount = count;
  return Ask(call);
}

CK_RV FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  Call call = OnSession("C_FindObjectsInit", session);
  call.attributes = attributes;
  call.attributeCount = count;
  return Ask(call);
}

CK_RV FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG capacity, CK_ULONG* found) {
  Call call = OnSession("C_FindObjects", session);
  call.output = objects;
  call.capacity = capacity;
  call.outputLength = found;
  return Ask(call);
}

CK_RV FindObjectsFinal(CK_SESSION_HANDLE session) {
  return Ask(OnSession("C_FindObjectsFinal", session));
}

Call KeyOperation(const char* name, CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  Call call = OnSession(name, session);
  call.mechanism = mechanism;
  call.object = key;
  return call;
}

CK_RV SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return Ask(KeyOperation("C_SignInit", session, mechanism, key));
}

CK_RV DecryptInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return Ask(KeyOperation("C_DecryptInit", session, mechanism, key));
}

Call DataOperation(const char* name, CK_SESSION_HANDLE session, CK_BYTE* input, CK_ULONG inputLength, CK_BYTE* output,
                   CK_ULONG* outputLength) {
  Call call = OnSession(name, session);
  call.input = input;
  call.inputLength = inputLength;
  call.output = output;
  call.outputLength = outputLength;
  return call;
}

CK_RV Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature, CK_ULONG* signatureLength) {
  return Ask(DataOperation("C_Sign", session, data, length, signature, signatureLength));
}

CK_RV Decrypt(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* plaintext,
              CK_ULONG* plaintextLength) {
  return Ask(DataOperation("C_Decrypt", session, data, length, plaintext, plaintextLength));
}

CK_RV DeriveKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key, CK_ATTRIBUTE* attributes,
                CK_ULONG count, CK_OBJECT_HANDLE* derived) {
  Call call = KeyOperation("C_DeriveKey", session, mechanism, key);
  call.attributes = attributes;
  call.attributeCount = count;
  call.output = derived;
  return Ask(call);
}

/// Stands in every place of the function list that the product has no business with.
CK_RV Unexpected() {
  Ask(Named("unexpected call"));
  return CKR_FUNCTION_NOT_SUPPORTED;
}

CK_FUNCTION_LIST MakeList() {
  CK_FUNCTION_LIST list{};
  // Everything behind the version is a function pointer of the same size.
  auto* slots = reinterpret_cast<void**>(&list.C_Initialize);
  const auto count = (sizeof list - offsetof(CK_FUNCTION_LIST, C_Initialize)) / sizeof(void*);
  for (size_t i = 0; i < count; ++i) slots[i] = reinterpret_cast<void*>(&Unexpected);

  list.version = {2, 40};
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
  list.C_Login = Login;
  list.C_GetAttributeValue = GetAttributeValue;
  list.C_FindObjectsInit = FindObjectsInit;
  list.C_FindObjects = FindObjects;
  list.C_FindObjectsFinal = FindObjectsFinal;
  list.C_SignInit = SignInit;
  list.C_Sign = Sign;
  list.C_DecryptInit = DecryptInit;
  list.C_Decrypt = Decrypt;
  list.C_DeriveKey = DeriveKey;
  return list;
}

}  // namespace

CK_FUNCTION_LIST* FunctionList() {
  static CK_FUNCTION_LIST list = MakeList();
  return &list;
}

CK_RV GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType) {
  Call call = OnSlot("C_GetSlotType", slot);
  call.output = slotType;
  return Ask(call);
}

}  // namespace TestCard
