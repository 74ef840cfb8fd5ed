#include "host/module/Module.h"

#include <algorithm>
#include <cstring>

#include "host/keys/Service.h"
#include "host/module/Mechanisms.h"
#include "host/terminal/Terminal.h"
#include "softcard/state/Pkcs11.h"

namespace Host {
namespace {

using SoftCard::Pad;

/// What PKCS#11 does with a list: the count alone, or the entries too where there is room.
template <class Entry>
CK_RV GiveList(const std::vector<Entry>& entries, Entry* output, CK_ULONG* count) {
  const CK_ULONG room = *count;
  *count = entries.size();
  if (!output) return CKR_OK;
  if (room < entries.size()) return CKR_BUFFER_TOO_SMALL;
  std::copy(entries.begin(), entries.end(), output);
  return CKR_OK;
}

}  // namespace

Module::Module(const Options& options) : m_options(options), m_process(MakeProcess(options)) {}

CK_RV Module::GetInfo(CK_INFO* info) {
  *info = {};
  info->cryptokiVersion = {CRYPTOKI_VERSION_MAJOR, CRYPTOKI_VERSION_MINOR};
  Pad("ctkhost", info->manufacturerID);
  Pad("Keys of the token extension", info->libraryDescription);
  return CKR_OK;
}

void Module::Follow(Slot& slot, const Reader* reader) {
  const bool hasCard = reader && reader->hasCard;
  if (slot.token && (!hasCard || slot.token->Insertion() != reader->insertions || !slot.token->Card().IsKnown()))
    slot.token.reset();
  slot.reader.hasCard = hasCard;
  if (!hasCard || slot.token) return;
  try {
    slot.token = std::make_shared<ModuleToken>(m_process, *reader);
  } catch (const Failure& failure) {
    TellUser(failure.what());
  }
}

void Module::Refresh() {
  std::vector<Reader> readers;
  for (Reader& reader : Readers())
    if (m_options.reader.empty() || reader.name == m_options.reader) readers.push_back(std::move(reader));
  const auto called = [](const std::string& name) { return [&name](const auto& other) { return other.name == name; }; };
  for (const Reader& reader : readers) {
    const bool isKnown =
        std::any_of(m_slots.begin(), m_slots.end(), [&](const Slot& slot) { return slot.reader.name == reader.name; });
    if (!isKnown) m_slots.push_back({reader, nullptr});
  }
  for (Slot& slot : m_slots) {
    const auto reader = std::find_if(readers.begin(), readers.end(), called(slot.reader.name));
    Follow(slot, reader == readers.end() ? nullptr : &*reader);
  }
  const bool hasToken =
      std::any_of(m_slots.begin(), m_slots.end(), [](const Slot& slot) { return slot.token != nullptr; });
  if (!hasToken && !m_toldOfNoToken) TellUser("no card in any reader; put one in and try again");
  m_toldOfNoToken = !hasToken;
}

Module::Slot* Module::SlotAt(CK_SLOT_ID slot) {
  return slot < m_slots.size() ? &m_slots[slot] : nullptr;
}

CK_RV Module::GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count) {
  Refresh();
  std::vector<CK_SLOT_ID> found;
  for (CK_SLOT_ID slot = 0; slot < m_slots.size(); ++slot)
    if (!tokenPresent || m_slots[slot].token) found.push_back(slot);
  return GiveList(found, slots, count);
}

CK_RV Module::GetSlotInfo(CK_SLOT_ID number, CK_SLOT_INFO* info) {
  const Slot* const slot = SlotAt(number);
  if (!slot) return CKR_SLOT_ID_INVALID;
  *info = {};
  Pad(slot->reader.name, info->slotDescription);
  Pad("", info->manufacturerID);
  info->flags = CKF_REMOVABLE_DEVICE | CKF_HW_SLOT | (slot->token ? CKF_TOKEN_PRESENT : 0);
  return CKR_OK;
}

CK_RV Module::GetTokenInfo(CK_SLOT_ID number, CK_TOKEN_INFO* info) {
  const Slot* const slot = SlotAt(number);
  if (!slot) return CKR_SLOT_ID_INVALID;
  if (!slot->token) return CKR_TOKEN_NOT_PRESENT;
  *info = {};
  const std::string& name = slot->token->Card().InstanceID();
  Pad(name, info->label);
  Pad("ctkhost", info->manufacturerID);
  Pad("token extension", info->model);
  Pad(name.size() > sizeof info->serialNumber ? name.substr(name.size() - sizeof info->serialNumber) : name,
      info->serialNumber);
  info->flags = CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED | CKF_TOKEN_INITIALIZED | CKF_WRITE_PROTECTED |
                (slot->token->HasPinPad() ? CKF_PROTECTED_AUTHENTICATION_PATH : 0);
  info->ulMaxPinLen = kLongestPin;
  info->ulMinPinLen = 1;
  info->ulMaxSessionCount = info->ulSessionCount = CK_UNAVAILABLE_INFORMATION;
  info->ulTotalPublicMemory = info->ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
  info->ulTotalPrivateMemory = info->ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
  return CKR_OK;
}

CK_RV Module::GetMechanismList(CK_SLOT_ID number, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count) {
  return SlotAt(number) ? GiveList(ModuleMechanisms(), mechanisms, count) : CKR_SLOT_ID_INVALID;
}

CK_RV Module::GetMechanismInfo(CK_SLOT_ID number, CK_MECHANISM_TYPE mechanism, CK_MECHANISM_INFO* info) {
  if (!SlotAt(number)) return CKR_SLOT_ID_INVALID;
  const auto found = ModuleMechanismInfo(mechanism);
  if (!found) return CKR_MECHANISM_INVALID;
  *info = *found;
  return CKR_OK;
}

CK_RV Module::OpenSession(CK_SLOT_ID number, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
  if (!SlotAt(number)) return CKR_SLOT_ID_INVALID;
  if (!SlotAt(number)->token) Refresh();  // an application that lost its token may not ask for the slots again
  const Slot* const slot = SlotAt(number);
  if (!slot->token) return CKR_TOKEN_NOT_PRESENT;
  if ((flags & CKF_SERIAL_SESSION) == 0) return CKR_SESSION_PARALLEL_NOT_SUPPORTED;
  if ((flags & CKF_RW_SESSION) != 0) return CKR_TOKEN_WRITE_PROTECTED;
  *session = ++m_lastSession;
  m_sessions[*session] = {number, slot->token, std::nullopt, std::nullopt};
  return CKR_OK;
}

CK_RV Module::CloseSession(CK_SESSION_HANDLE session) {
  return m_sessions.erase(session) == 1 ? CKR_OK : CKR_SESSION_HANDLE_INVALID;
}

CK_RV Module::CloseAllSessions(CK_SLOT_ID number) {
  Slot* const slot = SlotAt(number);
  if (!slot) return CKR_SLOT_ID_INVALID;
  for (auto session = m_sessions.begin(); session != m_sessions.end();)
    session = session->second.slot == number ? m_sessions.erase(session) : std::next(session);
  if (slot->token) slot->token->LogOut();
  return CKR_OK;
}

CK_RV Module::Find(CK_SESSION_HANDLE handle, Session** session, ModuleToken** token) {
  const auto found = m_sessions.find(handle);
  if (found == m_sessions.end()) return CKR_SESSION_HANDLE_INVALID;
  *session = &found->second;
  *token = found->second.token.lock().get();  // its slot keeps it
  if (*token && !(*token)->Card().IsKnown()) {
    TellUser("the extension ended, and the login with it; log in again");
    m_slots[found->second.slot].token.reset();
    *token = nullptr;
  }
  return *token ? CKR_OK : CKR_DEVICE_REMOVED;
}

CK_RV Module::GetSessionInfo(CK_SESSION_HANDLE handle, CK_SESSION_INFO* info) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  *info = {session->slot, token->IsLoggedIn() ? CKS_RO_USER_FUNCTIONS : CKS_RO_PUBLIC_SESSION, CKF_SERIAL_SESSION, 0};
  return CKR_OK;
}

CK_RV Module::Login(CK_SESSION_HANDLE handle, CK_USER_TYPE user, CK_UTF8CHAR* pin, CK_ULONG length) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (user != CKU_USER) return CKR_USER_TYPE_INVALID;
  if (token->IsLoggedIn()) return CKR_USER_ALREADY_LOGGED_IN;
  token->LogIn(pin ? std::optional<Wire::Attachment>(std::in_place, pin, length) : std::nullopt);
  return CKR_OK;
}

CK_RV Module::Logout(CK_SESSION_HANDLE handle) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (!token->IsLoggedIn()) return CKR_USER_NOT_LOGGED_IN;
  token->LogOut();
  return CKR_OK;
}

CK_RV Module::FindObjectsInit(CK_SESSION_HANDLE handle, CK_ATTRIBUTE* wanted, CK_ULONG count) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (session->found) return CKR_OPERATION_ACTIVE;
  session->found.emplace();
  const auto& objects = token->Objects();
  for (size_t i = objects.size(); i > 0; --i)  // taken from the end
    if (objects[i - 1].Matches(wanted, count) && (!objects[i - 1].key || token->IsLoggedIn()))
      session->found->push_back(i);
  return CKR_OK;
}

CK_RV Module::FindObjects(CK_SESSION_HANDLE handle, CK_OBJECT_HANDLE* objects, CK_ULONG room, CK_ULONG* count) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (!session->found) return CKR_OPERATION_NOT_INITIALIZED;
  for (*count = 0; *count < room && !session->found->empty(); ++*count) {
    objects[*count] = session->found->back();
    session->found->pop_back();
  }
  return CKR_OK;
}

CK_RV Module::FindObjectsFinal(CK_SESSION_HANDLE handle) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (!session->found) return CKR_OPERATION_NOT_INITIALIZED;
  session->found.reset();
  return CKR_OK;
}

CK_RV Module::GetAttributeValue(CK_SESSION_HANDLE handle, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* wanted,
                                CK_ULONG count) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (object == 0 || object > token->Objects().size()) return CKR_OBJECT_HANDLE_INVALID;
  return token->Objects()[object - 1].Read(wanted, count);
}

CK_RV Module::Begin(CK_SESSION_HANDLE handle, Operation operation, CK_OBJECT_HANDLE key, CK_ATTRIBUTE_TYPE usage) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (session->operation) return CKR_OPERATION_ACTIVE;
  if (key == 0 || key > token->Objects().size() || !token->Objects()[key - 1].key) return CKR_KEY_HANDLE_INVALID;
  operation.key = &token->Objects()[key - 1];
  const bool isRsa = operation.key->attributes.count(CKA_MODULUS) != 0;
  if (isRsa != (operation.mechanism != CKM_ECDSA)) return CKR_KEY_TYPE_INCONSISTENT;
  if (operation.key->attributes.at(usage).at(0) != CK_TRUE) return CKR_KEY_FUNCTION_NOT_PERMITTED;
  if (!token->IsLoggedIn()) return CKR_USER_NOT_LOGGED_IN;
  session->operation = std::move(operation);
  return CKR_OK;
}

template <class Perform>
CK_RV Module::Finish(CK_SESSION_HANDLE handle, Wire::Operation kind, CK_BYTE* output, CK_ULONG* room, Perform perform) {
  Session* session;
  ModuleToken* token;
  if (const CK_RV result = Find(handle, &session, &token); result != CKR_OK) return result;
  if (!session->operation || session->operation->kind != kind) return CKR_OPERATION_NOT_INITIALIZED;
  const CK_ULONG longest = session->operation->key->SignatureLength();
  if (!output || *room < longest) {
    *room = longest;
    return output ? CKR_BUFFER_TOO_SMALL : CKR_OK;
  }
  const Operation operation = *std::move(session->operation);
  session->operation.reset();  // over, however it ends
  const std::optional<Wire::Bytes> result = perform(*token, operation);
  if (!result || result->size() > longest) return CKR_FUNCTION_FAILED;
  std::copy(result->begin(), result->end(), output);
  *room = result->size();
  return CKR_OK;
}

CK_RV Module::SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  const auto algorithm = SignatureAlgorithmOf(*mechanism);
  if (!algorithm)
    return ModuleMechanismInfo(mechanism->mechanism) ? CKR_MECHANISM_PARAM_INVALID : CKR_MECHANISM_INVALID;
  return Begin(session, {Wire::Operation::SignData, mechanism->mechanism, *algorithm, nullptr}, key, CKA_SIGN);
}

CK_RV Module::Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature, CK_ULONG* room) {
  return Finish(
      session, Wire::Operation::SignData, signature, room, [&](ModuleToken& token, const Operation& operation) {
        const Wire::Bytes made = token.Session().Sign(*operation.key->key, operation.algorithm, {data, data + length});
        return ModuleSignature(operation.mechanism, made, operation.key->SignatureLength());
      });
}

CK_RV Module::DecryptInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  if (mechanism->mechanism != CKM_RSA_PKCS) return CKR_MECHANISM_INVALID;
  return Begin(session, {Wire::Operation::DecryptData, CKM_RSA_PKCS, "", nullptr}, key, CKA_DECRYPT);
}

CK_RV Module::Decrypt(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* plaintext, CK_ULONG* room) {
  return Finish(session, Wire::Operation::DecryptData, plaintext, room,
                [&](ModuleToken& token, const Operation& operation) {
                  return std::optional(token.Session().Decrypt(*operation.key->key, {data, data + length}));
                });
}

}  // namespace Host
