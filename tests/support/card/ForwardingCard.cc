#include "tests/support/card/ForwardingCard.h"

#include <functional>
#include <map>

namespace TestCard {
namespace {

using Forward = std::function<CK_RV(CK_FUNCTION_LIST&, Call&)>;

template <typename Pointer>
Pointer* As(void* output) {
  return static_cast<Pointer*>(output);
}

CK_BYTE* Input(Call& call) {
  return const_cast<CK_BYTE*>(call.input);
}

CK_BYTE* Output(Call& call) {
  return As<CK_BYTE>(call.output);
}

// clang-format off
const std::map<std::string, Forward>& Forwards() {
  static const std::map<std::string, Forward> forwards = {
    {"C_Initialize", [](auto& f, auto& c) { return f.C_Initialize(c.output); }},
    {"C_Finalize", [](auto& f, auto& c) { return f.C_Finalize(c.output); }},
    {"C_GetSlotList", [](auto& f, auto& c) { return f.C_GetSlotList(c.tokenPresent, As<CK_SLOT_ID>(c.output), c.outputLength); }},
    {"C_GetSlotInfo", [](auto& f, auto& c) { return f.C_GetSlotInfo(c.slot, As<CK_SLOT_INFO>(c.output)); }},
    {"C_GetTokenInfo", [](auto& f, auto& c) { return f.C_GetTokenInfo(c.slot, As<CK_TOKEN_INFO>(c.output)); }},
    {"C_GetMechanismInfo", [](auto& f, auto& c) { return f.C_GetMechanismInfo(c.slot, c.mechanismType, As<CK_MECHANISM_INFO>(c.output)); }},
    {"C_OpenSession", [](auto& f, auto& c) { return f.C_OpenSession(c.slot, c.flags, nullptr, nullptr, As<CK_SESSION_HANDLE>(c.output)); }},
    {"C_CloseSession", [](auto& f, auto& c) { return f.C_CloseSession(c.session); }},
    {"C_CloseAllSessions", [](auto& f, auto& c) { return f.C_CloseAllSessions(c.slot); }},
    {"C_GetSessionInfo", [](auto& f, auto& c) { return f.C_GetSessionInfo(c.session, As<CK_SESSION_INFO>(c.output)); }},
    {"C_Login", [](auto& f, auto& c) { return f.C_Login(c.session, c.userType, Input(c), c.inputLength); }},
    {"C_GetAttributeValue", [](auto& f, auto& c) { return f.C_GetAttributeValue(c.session, c.object, c.attributes, c.attributeCount); }},
    {"C_FindObjectsInit", [](auto& f, auto& c) { return f.C_FindObjectsInit(c.session, c.attributes, c.attributeCount); }},
    {"C_FindObjects", [](auto& f, auto& c) { return f.C_FindObjects(c.session, As<CK_OBJECT_HANDLE>(c.output), c.capacity, c.outputLength); }},
    {"C_FindObjectsFinal", [](auto& f, auto& c) { return f.C_FindObjectsFinal(c.session); }},
    {"C_SignInit", [](auto& f, auto& c) { return f.C_SignInit(c.session, c.mechanism, c.object); }},
    {"C_Sign", [](auto& f, auto& c) { return f.C_Sign(c.session, Input(c), c.inputLength, Output(c), c.outputLength); }},
    {"C_DecryptInit", [](auto& f, auto& c) { return f.C_DecryptInit(c.session, c.mechanism, c.object); }},
    {"C_Decrypt", [](auto& f, auto& c) { return f.C_Decrypt(c.session, Input(c), c.inputLength, Output(c), c.outputLength); }},
    {"C_DeriveKey", [](auto& f, auto& c) { return f.C_DeriveKey(c.session, c.mechanism, c.object, c.attributes, c.attributeCount, As<CK_OBJECT_HANDLE>(c.output)); }},
  };
  return forwards;
}
// clang-format on

}  // namespace

CK_RV ForwardingCard::Answer(Call& call) {
  const auto forward = Forwards().find(call.name);
  return forward != Forwards().end() ? forward->second(*m_library, call) : CKR_FUNCTION_NOT_SUPPORTED;
}

}  // namespace TestCard
