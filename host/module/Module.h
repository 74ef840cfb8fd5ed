#pragma once

#include <p11-kit/pkcs11.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/Options.h"
#include "host/keys/KeySession.h"
#include "host/module/Objects.h"
#include "host/readers/Readers.h"

namespace Host {

/// The token of the card in one reader, with what an application did to it.
class ModuleToken {
 public:
  /// Throws Failure (no token) when the card gives none. Uses `process`, which outlives it.
  ModuleToken(ExtensionProcess& process, const Reader& reader);

  const CardToken& Card() const { return m_card; }
  const std::vector<ModuleObject>& Objects() const { return m_objects; }
  unsigned long Insertion() const { return m_insertion; }
  bool IsLoggedIn() const { return m_isLoggedIn; }

  /// Whether the PIN is typed on the reader.
  bool HasPinPad();
  /// Logs in; no PIN: it is typed on the reader. Throws Failure.
  void LogIn(std::optional<Wire::Attachment> pin);
  /// The card stays logged in, as the extension has no logout; the application has to log in again.
  void LogOut() { m_isLoggedIn = false; }

  /// The session of the application's operations.
  KeySession& Session() { return m_session; }

 private:
  const Wire::Item* FirstKey() const;

  CardToken m_card;
  std::vector<ModuleObject> m_objects;
  std::optional<Wire::Attachment> m_pin;  ///< only while LogIn runs
  PinSource m_pins;
  KeySession m_session;
  unsigned long m_insertion;
  bool m_isLoggedIn = false;
};

/// The cards' keys as a PKCS#11 module: a slot for each reader, in the order in which it was seen first. Its functions
/// are PKCS#11's, under their names; what is not here the module does not support. They throw Failure.
class Module {
 public:
  /// `options` outlive it.
  explicit Module(const Options& options);

  CK_RV GetInfo(CK_INFO* info);
  CK_RV GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count);
  CK_RV GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info);
  CK_RV GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info);
  CK_RV GetMechanismList(CK_SLOT_ID slot, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count);
  CK_RV GetMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism, CK_MECHANISM_INFO* info);

  CK_RV OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session);
  CK_RV CloseSession(CK_SESSION_HANDLE session);
  CK_RV CloseAllSessions(CK_SLOT_ID slot);
  CK_RV GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info);
  CK_RV Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_UTF8CHAR* pin, CK_ULONG length);
  CK_RV Logout(CK_SESSION_HANDLE session);

  CK_RV FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG count);
  CK_RV FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG room, CK_ULONG* count);
  CK_RV FindObjectsFinal(CK_SESSION_HANDLE session);
  CK_RV GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* wanted, CK_ULONG count);

  CK_RV SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature, CK_ULONG* room);
  CK_RV DecryptInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV Decrypt(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* plaintext, CK_ULONG* room);

 private:
  struct Slot {
    Reader reader;
    std::shared_ptr<ModuleToken> token;  ///< the only owner
  };
  /// An operation that was begun: what is asked of the token, and with which key.
  struct Operation {
    Wire::Operation kind;
    CK_MECHANISM_TYPE mechanism;
    std::string algorithm;
    const ModuleObject* key;
  };
  struct Session {
    CK_SLOT_ID slot;
    std::weak_ptr<ModuleToken> token;  ///< which it was opened for
    std::optional<std::vector<CK_OBJECT_HANDLE>> found;
    std::optional<Operation> operation;
  };

  /// Follows the readers: a card that is gone or was exchanged loses its token.
  void Refresh();
  void Follow(Slot& slot, const Reader* reader);
  /// Null when there is no such slot.
  Slot* SlotAt(CK_SLOT_ID slot);
  /// The session and its token. The result says why there is none.
  CK_RV Find(CK_SESSION_HANDLE handle, Session** session, ModuleToken** token);
  CK_RV Begin(CK_SESSION_HANDLE handle, Operation operation, CK_OBJECT_HANDLE key, CK_ATTRIBUTE_TYPE usage);
  /// Ends the operation of that kind with `perform`, unless only the length or more room is asked for.
  template <class Perform>
  CK_RV Finish(CK_SESSION_HANDLE handle, Wire::Operation kind, CK_BYTE* output, CK_ULONG* room, Perform perform);

  const Options& m_options;
  ExtensionProcess m_process;
  std::vector<Slot> m_slots;
  std::map<CK_SESSION_HANDLE, Session> m_sessions;
  CK_SESSION_HANDLE m_lastSession = 0;
  bool m_toldOfNoToken = false;
};

}  // namespace Host
