#include "tests/support/card/FakeCard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace TestCard {
namespace {

void FillPadded(CK_UTF8CHAR* field, size_t size, const std::string& text) {
  std::memset(field, ' ', size);
  std::memcpy(field, text.data(), std::min(text.size(), size));
}

bool Matches(const FakeObject& object, const CK_ATTRIBUTE& attribute) {
  const auto held = object.attributes.find(attribute.type);
  return held != object.attributes.end() && held->second.size() == attribute.ulValueLen &&
         (attribute.ulValueLen == 0 || std::memcmp(held->second.data(), attribute.pValue, attribute.ulValueLen) == 0);
}

}  // namespace

FakeCard::~FakeCard() {
  if (m_ignoreLeftovers) return;
  EXPECT_EQ(m_sessions.size(), 0u) << "sessions left open";
}

void FakeCard::LogIn() {
  for (const FakeSlot& slot : m_slots) m_loggedIn.insert(slot.id);
}

CK_SESSION_HANDLE FakeCard::NextSession() {
  if (!reusesNumbers) return m_nextSession++;
  CK_SESSION_HANDLE lowest = m_nextSession;
  while (m_sessions.count(lowest) != 0) ++lowest;
  return lowest;
}

FakeSlot* FakeCard::FindSlot(CK_SLOT_ID id) {
  for (FakeSlot& slot : m_slots) {
    if (slot.id == id) return &slot;
  }
  return nullptr;
}

FakeObject* FakeCard::FindObject(const Session& session, CK_OBJECT_HANDLE handle) {
  for (FakeObject& object : FindSlot(session.slot)->objects) {
    if (object.handle == handle) return &object;
  }
  return nullptr;
}

void FakeCard::OnFault(Call& call) {
  // A search is over when its end was asked for, whatever that answered.
  const auto session = m_sessions.find(call.session);
  if (std::string(call.name) == "C_FindObjectsFinal" && session != m_sessions.end()) session->second.searching = false;
}

CK_RV FakeCard::Answer(Call& call) {
  const std::string name = call.name;
  if (name == "C_Initialize" || name == "C_Finalize") return CKR_OK;
  if (name == "C_GetSlotList") {
    if (auto* list = static_cast<CK_SLOT_ID*>(call.output)) {
      if (*call.outputLength < m_slots.size()) return CKR_BUFFER_TOO_SMALL;
      for (const FakeSlot& slot : m_slots) *list++ = slot.id;
    }
    *call.outputLength = m_slots.size();
    return CKR_OK;
  }
  if (call.session == 0) return AnswerOnSlot(call);
  const auto session = m_sessions.find(call.session);
  if (session == m_sessions.end()) return CKR_SESSION_HANDLE_INVALID;
  if (name == "C_CloseSession") {
    EXPECT_FALSE(session->second.searching) << "search left open in session " << call.session;
    m_sessions.erase(session);
    return CKR_OK;
  }
  return AnswerOnSession(call, session->second);
}

CK_RV FakeCard::AnswerOnSlot(Call& call) {
  FakeSlot* slot = FindSlot(call.slot);
  if (slot == nullptr) return CKR_SLOT_ID_INVALID;
  const std::string name = call.name;
  if (name == "C_GetSlotInfo") {
    auto* info = static_cast<CK_SLOT_INFO*>(call.output);
    FillPadded(info->slotDescription, sizeof info->slotDescription, slot->description);
  } else if (name == "C_GetTokenInfo") {
    auto* info = static_cast<CK_TOKEN_INFO*>(call.output);
    FillPadded(info->serialNumber, sizeof info->serialNumber, slot->serialNumber);
    info->flags = slot->tokenFlags;
  } else if (name == "C_GetMechanismInfo") {
    if (!slot->derivesKeys) return CKR_MECHANISM_INVALID;
  } else if (name == "C_GetSlotType") {
    *static_cast<CK_ULONG*>(call.output) = slot->slotType;
  } else if (name == "C_OpenSession") {
    const CK_SESSION_HANDLE session = NextSession();
    *static_cast<CK_SESSION_HANDLE*>(call.output) = session;
    m_sessions[session] = {slot->id};
  } else if (name == "C_CloseAllSessions") {
    for (auto session = m_sessions.begin(); session != m_sessions.end();) {
      session = session->second.slot == slot->id ? m_sessions.erase(session) : std::next(session);
    }
  } else {
    return CKR_FUNCTION_NOT_SUPPORTED;
  }
  return CKR_OK;
}

CK_RV FakeCard::AnswerOnSession(Call& call, Session& session) {
  const std::string name = call.name;
  if (name == "C_GetSessionInfo") {
    const CK_STATE followed = m_loggedIn.count(session.slot) != 0 ? CKS_RW_USER_FUNCTIONS : CKS_RW_PUBLIC_SESSION;
    static_cast<CK_SESSION_INFO*>(call.output)->state =
        m_forcedState >= 0 ? static_cast<CK_STATE>(m_forcedState) : followed;
    return CKR_OK;
  }
  if (name == "C_Login") return Login(call, session);
  if (name.rfind("C_FindObjects", 0) == 0) return Search(call, session);
  if (name == "C_GetAttributeValue") return ReadAttributes(call, session);
  if (name == "C_SignInit" || name == "C_DecryptInit") return StartOperation(call, session);
  if (name == "C_Sign") {
    signedData.assign(call.input, call.input + call.inputLength);
    return FinishOperation(call, session, signature);
  }
  if (name == "C_Decrypt") {
    ciphertext.assign(call.input, call.input + call.inputLength);
    return FinishOperation(call, session, plaintext);
  }
  if (name == "C_DeriveKey") return Derive(call, session);
  return CKR_FUNCTION_NOT_SUPPORTED;
}

CK_RV FakeCard::Login(Call& call, Session& session) {
  pinWasNull.push_back(call.input == nullptr);
  pins.emplace_back(call.input, call.input + call.inputLength);
  const bool onPinPad = (FindSlot(session.slot)->tokenFlags & CKF_PROTECTED_AUTHENTICATION_PATH) != 0;
  if (m_loggedIn.count(session.slot) != 0) return CKR_USER_ALREADY_LOGGED_IN;
  if (!onPinPad && pins.back() != Text(pin)) return CKR_PIN_INCORRECT;
  m_loggedIn.insert(session.slot);
  return CKR_OK;
}

CK_RV FakeCard::Search(Call& call, Session& session) {
  const std::string name = call.name;
  if (name == "C_FindObjectsInit") {
    if (session.searching) return CKR_OPERATION_ACTIVE;
    session.matches.clear();
    for (const FakeObject& object : FindSlot(session.slot)->objects) {
      const bool matches = std::all_of(call.attributes, call.attributes + call.attributeCount,
                                       [&](const CK_ATTRIBUTE& attribute) { return Matches(object, attribute); });
      if (matches) session.matches.push_back(object.handle);
    }
    session.searching = true;
    return CKR_OK;
  }
  if (!session.searching) return CKR_OPERATION_NOT_INITIALIZED;
  if (name == "C_FindObjectsFinal") {
    session.searching = false;
    return CKR_OK;
  }
  const size_t count = std::min<size_t>(call.capacity, session.matches.size());
  std::copy_n(session.matches.begin(), count, static_cast<CK_OBJECT_HANDLE*>(call.output));
  session.matches.erase(session.matches.begin(), session.matches.begin() + static_cast<long>(count));
  *call.outputLength = count;
  return CKR_OK;
}

CK_RV FakeCard::ReadAttributes(Call& call, Session& session) {
  FakeObject* object = FindObject(session, call.object);
  if (object == nullptr) return CKR_OBJECT_HANDLE_INVALID;
  for (CK_ULONG i = 0; i < call.attributeCount; ++i) {
    CK_ATTRIBUTE& attribute = call.attributes[i];
    const auto held = object->attributes.find(attribute.type);
    if (held == object->attributes.end()) return CKR_ATTRIBUTE_TYPE_INVALID;
    if (attribute.pValue != nullptr) {
      if (attribute.ulValueLen < held->second.size()) return CKR_BUFFER_TOO_SMALL;
      std::copy(held->second.begin(), held->second.end(), static_cast<CK_BYTE*>(attribute.pValue));
    }
    attribute.ulValueLen = held->second.size();
  }
  return CKR_OK;
}

void FakeCard::RememberMechanism(const CK_MECHANISM& asked) {
  mechanism = asked.mechanism;
  const auto* parameter = static_cast<const CK_BYTE*>(asked.pParameter);
  mechanismParameter.assign(parameter, parameter + asked.ulParameterLen);
}

CK_RV FakeCard::StartOperation(Call& call, Session& session) {
  RememberMechanism(*call.mechanism);
  if (session.operating) return CKR_OPERATION_ACTIVE;
  if (FindObject(session, call.object) == nullptr) return CKR_KEY_HANDLE_INVALID;
  session.operating = true;
  return CKR_OK;
}

CK_RV FakeCard::FinishOperation(Call& call, Session& session, const ByteString& answer) {
  if (!session.operating) return CKR_OPERATION_NOT_INITIALIZED;
  if (call.input == nullptr) return CKR_ARGUMENTS_BAD;  // the operation stays open, as SoftHSM2 has it
  if (call.output == nullptr) {
    const auto announced = announcedLength.find(call.name);
    *call.outputLength = announced != announcedLength.end() ? announced->second : answer.size();
    return CKR_OK;
  }
  if (*call.outputLength < answer.size()) return CKR_BUFFER_TOO_SMALL;
  std::copy(answer.begin(), answer.end(), static_cast<CK_BYTE*>(call.output));
  *call.outputLength = answer.size();
  session.operating = false;
  return CKR_OK;
}

CK_RV FakeCard::Derive(Call& call, Session& session) {
  RememberMechanism(*call.mechanism);
  const auto* parameter = static_cast<const CK_ECDH1_DERIVE_PARAMS*>(call.mechanism->pParameter);
  sharedData.assign(parameter->pSharedData, parameter->pSharedData + parameter->ulSharedDataLen);
  publicData.assign(parameter->pPublicData, parameter->pPublicData + parameter->ulPublicDataLen);
  derivedTemplate.clear();
  for (CK_ULONG i = 0; i < call.attributeCount; ++i) {
    derivedTemplate.emplace_back(call.attributes[i].type, *static_cast<CK_ULONG*>(call.attributes[i].pValue));
  }
  if (FindObject(session, call.object) == nullptr) return CKR_KEY_HANDLE_INVALID;
  *static_cast<CK_OBJECT_HANDLE*>(call.output) = m_nextDerived;
  FindSlot(session.slot)
      ->objects.push_back({m_nextDerived++, {{CKA_CLASS, Ulong(CKO_SECRET_KEY)}, {CKA_VALUE, derivedValue}}});
  return CKR_OK;
}

ByteString Ulong(CK_ULONG value) {
  const auto* bytes = reinterpret_cast<const CK_BYTE*>(&value);
  return {bytes, bytes + sizeof value};
}

ByteString Text(const std::string& text) {
  return {text.begin(), text.end()};
}

FakeObject UserCertificate(CK_OBJECT_HANDLE handle, ByteString id, const std::string& label, ByteString der) {
  return {handle,
          {{CKA_CLASS, Ulong(CKO_CERTIFICATE)},
           {CKA_CERTIFICATE_CATEGORY, Ulong(1)},
           {CKA_ID, std::move(id)},
           {CKA_LABEL, Text(label)},
           {CKA_VALUE, std::move(der)}}};
}

FakeObject PublicKeyObject(CK_OBJECT_HANDLE handle, ByteString id, const std::string& label, CK_KEY_TYPE type,
                           bool verifies, bool encrypts) {
  return {handle,
          {{CKA_CLASS, Ulong(CKO_PUBLIC_KEY)},
           {CKA_ID, std::move(id)},
           {CKA_LABEL, Text(label)},
           {CKA_KEY_TYPE, Ulong(type)},
           {CKA_VERIFY, {static_cast<CK_BYTE>(verifies)}},
           {CKA_ENCRYPT, {static_cast<CK_BYTE>(encrypts)}}}};
}

FakeObject PrivateKeyObject(CK_OBJECT_HANDLE handle, ByteString id) {
  return {handle, {{CKA_CLASS, Ulong(CKO_PRIVATE_KEY)}, {CKA_ID, std::move(id)}}};
}

}  // namespace TestCard
