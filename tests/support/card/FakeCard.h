#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/card/Card.h"

namespace TestCard {

using ByteString = std::vector<CK_BYTE>;

/// One object on a fake card. What it lacks is answered with CKR_ATTRIBUTE_TYPE_INVALID.
struct FakeObject {
  CK_OBJECT_HANDLE handle;
  std::map<CK_ATTRIBUTE_TYPE, ByteString> attributes;
};

/// A slot with its token.
struct FakeSlot {
  CK_SLOT_ID id;
  std::string description;
  std::string serialNumber = "00A1B2C3";
  CK_FLAGS tokenFlags = 0;
  CK_ULONG slotType = 0;
  bool derivesKeys = true;
  std::vector<FakeObject> objects = {};
};

/// A card in memory: slots, objects, a PIN, login state, and answers instead of cryptography. It refuses what a real
/// library would refuse (foreign handles, a second search or operation on a session), and fails the test when it is
/// left with an open session or search.
class FakeCard : public Card {
 public:
  explicit FakeCard(std::vector<FakeSlot> slots) : m_slots(std::move(slots)) {}
  ~FakeCard() override;

  std::vector<FakeSlot>& Slots() { return m_slots; }

  // Answers, instead of cryptography.
  std::string pin = "1234";
  ByteString signature = ByteString(64, 0x5A);
  ByteString plaintext = ByteString(32, 0x11);
  ByteString derivedValue = ByteString(32, 0x22);
  /// Whether a session gets the lowest free number, as with libraries that keep sessions in a table, or the next one.
  bool reusesNumbers = false;
  /// Length that a size query announces, when it differs from the answer's.
  std::map<std::string, CK_ULONG> announcedLength;

  // What the last calls brought.
  std::vector<ByteString> pins;                                         // of C_Login; empty for none
  std::vector<bool> pinWasNull;                                         // of C_Login
  ByteString signedData;                                                // of the last C_Sign
  ByteString ciphertext;                                                // of the last C_Decrypt
  CK_MECHANISM_TYPE mechanism = 0;                                      // of the last C_...Init or C_DeriveKey
  ByteString mechanismParameter;                                        // its parameter's bytes
  ByteString sharedData, publicData;                                    // what the parameter of C_DeriveKey points to
  std::vector<std::pair<CK_ATTRIBUTE_TYPE, CK_ULONG>> derivedTemplate;  // of the last C_DeriveKey

  /// Sets the state that C_GetSessionInfo answers for every session; by default it follows the logins.
  void ForceState(CK_STATE state) { m_forcedState = static_cast<int>(state); }
  /// Logs the user in on every session without a call.
  void LogIn();
  /// Logs the user out again, without a call.
  void LogOut() { m_loggedIn.clear(); }
  int OpenSessions() const { return static_cast<int>(m_sessions.size()); }
  /// Leaves open sessions unpunished, for tests that drop a card on purpose.
  void IgnoreLeftovers() { m_ignoreLeftovers = true; }

 protected:
  CK_RV Answer(Call& call) override;
  void OnFault(Call& call) override;

 private:
  struct Session {
    CK_SLOT_ID slot;
    bool searching = false;
    bool operating = false;
    std::vector<CK_OBJECT_HANDLE> matches = {};
  };

  CK_SESSION_HANDLE NextSession();
  FakeSlot* FindSlot(CK_SLOT_ID id);
  FakeObject* FindObject(const Session& session, CK_OBJECT_HANDLE handle);
  CK_RV AnswerOnSlot(Call& call);
  CK_RV AnswerOnSession(Call& call, Session& session);
  CK_RV Login(Call& call, Session& session);
  CK_RV Search(Call& call, Session& session);
  CK_RV ReadAttributes(Call& call, Session& session);
  CK_RV StartOperation(Call& call, Session& session);
  CK_RV FinishOperation(Call& call, Session& session, const ByteString& answer);
  CK_RV Derive(Call& call, Session& session);
  void RememberMechanism(const CK_MECHANISM& mechanism);

  std::vector<FakeSlot> m_slots;
  std::map<CK_SESSION_HANDLE, Session> m_sessions;
  std::set<CK_SLOT_ID> m_loggedIn;
  CK_SESSION_HANDLE m_nextSession = 101;
  CK_OBJECT_HANDLE m_nextDerived = 9001;
  int m_forcedState = -1;
  bool m_ignoreLeftovers = false;
};

/// The bytes of a CK_ULONG attribute value.
ByteString Ulong(CK_ULONG value);
/// The bytes of a text.
ByteString Text(const std::string& text);

/// A certificate object of the user category.
FakeObject UserCertificate(CK_OBJECT_HANDLE handle, ByteString id, const std::string& label, ByteString der);
/// A public key object with its two capabilities.
FakeObject PublicKeyObject(CK_OBJECT_HANDLE handle, ByteString id, const std::string& label, CK_KEY_TYPE type,
                           bool verifies = true, bool encrypts = true);
/// A private key object.
FakeObject PrivateKeyObject(CK_OBJECT_HANDLE handle, ByteString id);

}  // namespace TestCard
