/// What the golden traces tell: told in the test's process (GoldenTraceTest, OperationTraceTest) and to the extension's
/// process (ProcessTraceTest).

#pragma once

#include "tests/golden/StoryCard.h"

/// At most one call that fails on the way.
struct Fault {
  const char* call = nullptr;
  CK_RV rv = CKR_OK;
  int occurrence = 1;
};

/// The life of one token on a card.
struct ConstructionStory {
  const char* name;
  StoryContents contents;
  bool givesToken = true;
  Fault fault = {};
  const char* reader = kStoryReader;
};

enum class Request {
  AnotherSession,
  AskForKeyExchange,
  LogInWithTheRightPin,
  LogInWithAWrongPin,
  SignRaw,
  SignWrongPadding,
  SignPss,
  SignEcdsa,
  SignEcdsaOnEachSlot,
  SignWithAMissingKey,
  SignNothingAndThenADigest,
  Decrypt,
  Agree,
};

/// What one request makes of a card. It uses the first published key, unless it says otherwise.
struct OperationStory {
  const char* name;
  StoryContents contents;
  bool loggedIn;
  Request request;
  bool succeeds = true;
  Fault fault = {};
};

inline constexpr StoryContents kEmpty = {1, 0}, kOneKey = {1, 1}, kTwoKeys = {1, 2}, kTwoSlots = {2, 1};
inline constexpr StoryContents kEc = {1, 1}, kRsa = {1, 1, true};

// clang-format off
inline constexpr ConstructionStory kConstructions[] = {
  {"AnEmptyCard", kEmpty},
  {"ACardWithOneKey", kOneKey},
  {"ACardWithTwoKeys", kTwoKeys},
  {"ACardOnTwoSlots", kTwoSlots},
  {"AnUnknownReader", kOneKey, false, {}, "Unknown Reader"},
  {"ARefusedInitialization", kOneKey, false, {"C_Initialize", CKR_DEVICE_ERROR}},
  {"ARefusedSlotCount", kOneKey, false, {"C_GetSlotList", CKR_GENERAL_ERROR, 1}},
  {"ARefusedSlotList", kOneKey, false, {"C_GetSlotList", CKR_BUFFER_TOO_SMALL, 2}},
  {"ARefusedSlotAfterAMatch", kOneKey, false, {"C_GetSlotInfo", CKR_DEVICE_ERROR, 2}},
  {"ARefusalToCloseAllSessions", kTwoSlots, true, {"C_CloseAllSessions", CKR_DEVICE_ERROR, 1}},
  {"UnreadableTokenInformation", kTwoSlots, false, {"C_GetTokenInfo", CKR_TOKEN_NOT_RECOGNIZED}},
  {"ARefusedFirstSession", kTwoSlots, false, {"C_OpenSession", CKR_SESSION_COUNT, 1}},
  {"ARefusedSecondSession", kTwoSlots, false, {"C_OpenSession", CKR_SESSION_COUNT, 2}},
  {"ASearchThatCannotStart", kOneKey, false, {"C_FindObjectsInit", CKR_OPERATION_ACTIVE, 1}},
  {"ASearchThatBreaksOff", kOneKey, false, {"C_FindObjects", CKR_DEVICE_REMOVED, 1}},
  {"AKeySearchThatBreaksOff", kOneKey, false, {"C_FindObjects", CKR_DEVICE_REMOVED, 3}},
  {"ASearchThatCannotEnd", kEmpty, true, {"C_FindObjectsFinal", CKR_DEVICE_ERROR, 1}},
  {"ARefusedAttributeLength", kOneKey, false, {"C_GetAttributeValue", CKR_ATTRIBUTE_TYPE_INVALID, 1}},
  {"ARefusedAttributeValue", kOneKey, false, {"C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 2}},
  {"ARefusedSessionClose", kTwoSlots, true, {"C_CloseSession", CKR_DEVICE_REMOVED, 1}},
};

inline constexpr OperationStory kOperations[] = {
  {"ASessionOnTwoSlots", kTwoSlots, false, Request::AnotherSession},
  {"ASessionOnAnUnreadableSlot", kTwoSlots, false, Request::AnotherSession, false, {"C_GetTokenInfo", CKR_DEVICE_ERROR, 2}},
  {"AQuestionAboutKeyExchange", kEc, false, Request::AskForKeyExchange},
  {"ARightPin", kEc, false, Request::LogInWithTheRightPin},
  {"AWrongPin", kEc, false, Request::LogInWithAWrongPin, false},
  {"ASignatureWithoutALogin", kEc, false, Request::SignEcdsa, false},
  {"ASignatureInAnInvalidSession", kEc, true, Request::SignEcdsa, false, {"C_GetSessionInfo", CKR_SESSION_HANDLE_INVALID}},
  {"ASignatureWithAMissingKey", kEc, true, Request::SignWithAMissingKey, false},
  {"ARawRsaSignature", kRsa, true, Request::SignRaw},
  {"ARefusedPadding", kRsa, true, Request::SignWrongPadding, false},
  {"APssSignature", kRsa, true, Request::SignPss},
  {"AnEcdsaSignature", kEc, true, Request::SignEcdsa},
  {"AnEcdsaSignatureOnEachSlot", kTwoSlots, true, Request::SignEcdsaOnEachSlot},
  {"ARefusedStartOfASignature", kEc, true, Request::SignEcdsa, false, {"C_SignInit", CKR_KEY_FUNCTION_NOT_PERMITTED}},
  {"ARefusedSignatureLength", kEc, true, Request::SignEcdsa, false, {"C_Sign", CKR_DEVICE_ERROR, 1}},
  {"ARefusedSignature", kEc, true, Request::SignEcdsa, false, {"C_Sign", CKR_DEVICE_ERROR, 2}},
  {"ASignatureOfNothingAndThenOne", kEc, true, Request::SignNothingAndThenADigest},
  {"ADecryption", kRsa, true, Request::Decrypt},
  {"ARefusedStartOfADecryption", kRsa, true, Request::Decrypt, false, {"C_DecryptInit", CKR_KEY_FUNCTION_NOT_PERMITTED}},
  {"ARefusedPlaintextLength", kRsa, true, Request::Decrypt, false, {"C_Decrypt", CKR_DEVICE_ERROR, 1}},
  {"ARefusedDecryption", kRsa, true, Request::Decrypt, false, {"C_Decrypt", CKR_DEVICE_ERROR, 2}},
  {"AKeyAgreement", kEc, true, Request::Agree},
  {"ARefusedKeyAgreement", kEc, true, Request::Agree, false, {"C_DeriveKey", CKR_MECHANISM_INVALID}},
  {"ARefusedSecretLength", kEc, true, Request::Agree, false, {"C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 1}},
  {"ARefusedSecret", kEc, true, Request::Agree, false, {"C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 2}},
};
// clang-format on

inline void PrintTo(const ConstructionStory& story, std::ostream* stream) {
  *stream << story.name;
}
inline void PrintTo(const OperationStory& story, std::ostream* stream) {
  *stream << story.name;
}
