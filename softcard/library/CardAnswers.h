#ifndef SOFTCARD_CARDANSWERS_H
#define SOFTCARD_CARDANSWERS_H

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

/// The calls that answer for a configured reader or card themselves, or keep book of its sessions.
/// Signatures and results are the standard's.
CK_RV CardGetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count);
CK_RV CardGetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info);
CK_RV CardGetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info);
CK_RV CardOpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session);
CK_RV CardCloseSession(CK_SESSION_HANDLE session);
CK_RV CardCloseAllSessions(CK_SLOT_ID slot);
CK_RV CardGetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info);

/// The vendor function: writes the slot type of the inserted card on every call, the default type where there is
/// none. CKR_SLOT_ID_INVALID for a slot that does not exist, the type written all the same.
CK_RV CardGetSlotType(CK_SLOT_ID slot, CK_ULONG* type);

}  // namespace SoftCard

#endif
