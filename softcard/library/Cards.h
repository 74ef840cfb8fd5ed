#ifndef SOFTCARD_CARDS_H
#define SOFTCARD_CARDS_H

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "softcard/state/Pkcs11.h"
#include "softcard/state/State.h"

namespace SoftCard {

/// Where a PKCS#11 slot of ours is found in the state, and what it was when somebody looked.
struct Place {
  Reader reader;
  std::optional<Card> card;  ///< The inserted card; none: the reader is empty.
  size_t token = 0;          ///< The slot's token on the card.
};

/// The readers and cards as this process shows them: our slot identifiers, the slots beneath that stand behind them,
/// and the sessions that are open on them. Follows the state file; a card that was taken out ends its sessions.
///
/// Slot identifiers are 16 times the reader's number plus the token's number on the card. Any thread may call.
class Cards {
 public:
  /// The process's cards.
  static Cards& Shared();

  /// The state as it is now. Throws as Load does.
  std::shared_ptr<const State> Now();

  /// The folder of the state; empty when the caller's own environment directs SoftHSM2 (SOFTHSM2_CONF without
  /// QEL_SOFTCARD_DIR): then the state has no say, and everything is forwarded.
  static std::filesystem::path Directory();

  /// Whether slots are readers of ours. When not, every call goes to the library beneath as it is.
  bool Configured();

  /// C_Initialize and C_Finalize: decide once whether readers are configured, and forget everything.
  CK_RV Initialize(void* arguments);
  CK_RV Finalize(void* reserved);

  std::vector<CK_SLOT_ID> Slots(bool onlyWithToken);

  /// The place of a slot; none when there is no such slot.
  std::optional<Place> Find(CK_SLOT_ID slot);

  /// The slot of the library beneath that holds the token in `slot`. CKR_SLOT_ID_INVALID, CKR_TOKEN_NOT_PRESENT, or
  /// CKR_TOKEN_NOT_RECOGNIZED when the library beneath does not know the card's token.
  CK_RV SlotBeneath(CK_SLOT_ID slot, CK_SLOT_ID& beneath);

  /// Our slot of an open session; none for a session that is not known.
  std::optional<CK_SLOT_ID> SlotOfSession(CK_SESSION_HANDLE session);

  /// CKR_DEVICE_REMOVED when the session's card was taken out, else CKR_OK: the library beneath judges the rest.
  CK_RV CheckSession(CK_SESSION_HANDLE session);

  void SessionOpened(CK_SESSION_HANDLE session, CK_SLOT_ID slot);
  void SessionClosed(CK_SESSION_HANDLE session);
  void SessionsClosed(CK_SLOT_ID slot);

  /// Keeps, and tells, the key of the ECDSA signature that was last begun in a session; CK_INVALID_HANDLE: the last
  /// signature is another one.
  void SignatureBegun(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE ecdsaKey);
  CK_OBJECT_HANDLE EcdsaKeyOf(CK_SESSION_HANDLE session);

 private:
  struct Session {
    CK_SLOT_ID slot;
    std::string reader;
    unsigned long insertions;
    bool removed = false;
    CK_OBJECT_HANDLE ecdsaKey = CK_INVALID_HANDLE;
  };

  std::shared_ptr<const State> Refresh();
  void EndSessionsOfRemovedCards(State state);
  std::optional<CK_SLOT_ID> LookUpBeneath(const Token& token);
  CK_RV StartBeneath(void* arguments);

  std::recursive_mutex m_mutex;
  std::shared_ptr<const State> m_state = std::make_shared<State>();
  std::string m_stamp;
  bool m_configured = false;
  std::optional<CK_C_INITIALIZE_ARGS> m_arguments;
  std::map<CK_SESSION_HANDLE, Session> m_sessions;
};

}  // namespace SoftCard

#endif
