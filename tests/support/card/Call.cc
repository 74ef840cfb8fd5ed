#include "tests/support/card/Call.h"

#include <cstring>
#include <map>
#include <sstream>

namespace TestCard {
namespace {

bool StartsWith(const char* text, const char* prefix) {
  return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

/// Values matter where they choose; where a value is asked for, only whether there is a buffer.
std::string Describe(const CK_ATTRIBUTE& attribute, bool asksForValue) {
  std::string text = " " + AttributeName(attribute.type);
  if (asksForValue) return text + (attribute.pValue == nullptr ? "=?" : "=buffer");
  if (attribute.type == CKA_ID) return text + "=<id>";
  if (attribute.ulValueLen == sizeof(CK_ULONG)) return text + "=" + Hex(*static_cast<CK_ULONG*>(attribute.pValue));
  return text + "=<" + std::to_string(attribute.ulValueLen) + " bytes>";
}

}  // namespace

std::string Hex(CK_ULONG value) {
  std::ostringstream text;
  text << "0x" << std::hex << value;
  return text.str();
}

std::string AttributeName(CK_ATTRIBUTE_TYPE type) {
  static const std::map<CK_ATTRIBUTE_TYPE, const char*> names = {
      {CKA_CLASS, "CKA_CLASS"},        {CKA_ID, "CKA_ID"},
      {CKA_LABEL, "CKA_LABEL"},        {CKA_VALUE, "CKA_VALUE"},
      {CKA_VERIFY, "CKA_VERIFY"},      {CKA_ENCRYPT, "CKA_ENCRYPT"},
      {CKA_KEY_TYPE, "CKA_KEY_TYPE"},  {CKA_CERTIFICATE_CATEGORY, "CKA_CERTIFICATE_CATEGORY"},
      {CKA_VALUE_LEN, "CKA_VALUE_LEN"}};
  const auto name = names.find(type);
  return name != names.end() ? name->second : Hex(type);
}

std::string Describe(const Call& call) {
  std::ostringstream text;
  text << call.name;
  const auto names = [&](std::initializer_list<const char*> calls) {
    for (const char* name : calls) {
      if (std::strcmp(name, call.name) == 0) return true;
    }
    return false;
  };
  const bool onSlot = names({"C_GetSlotInfo", "C_GetTokenInfo", "C_GetMechanismInfo", "C_OpenSession",
                             "C_CloseAllSessions", "C_GetSlotType"});
  if (onSlot) text << " slot=" << call.slot;
  if (call.session != 0) text << " session=" << call.session;
  if (call.object != 0) text << " object=" << call.object;
  if (names({"C_OpenSession", "C_Initialize"})) text << " flags=" << Hex(call.flags);
  if (names({"C_GetSlotList"})) text << " tokenPresent=" << int{call.tokenPresent};
  if (names({"C_Login"})) text << " user=" << call.userType;
  if (names({"C_GetMechanismInfo"})) text << " mechanism=" << Hex(call.mechanismType);
  if (call.mechanism != nullptr) {
    text << " mechanism=" << Hex(call.mechanism->mechanism) << " parameter=" << call.mechanism->ulParameterLen;
    if (call.mechanism->ulParameterLen == 0 && call.mechanism->pParameter != nullptr) text << " at a stray pointer";
  }
  const bool asksForValues = StartsWith(call.name, "C_GetAttributeValue");
  for (CK_ULONG i = 0; i < call.attributeCount; ++i) text << Describe(call.attributes[i], asksForValues);
  if (names({"C_FindObjects"})) text << " max=" << call.capacity;
  if (names({"C_GetSlotList", "C_Sign", "C_Decrypt"}))
    text << (call.output == nullptr ? " output=?" : " output=buffer");
  if (names({"C_Login"})) text << (call.input == nullptr ? " pin=none" : " pin=given");
  return text.str();
}

}  // namespace TestCard
