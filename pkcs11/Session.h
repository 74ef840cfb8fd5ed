#pragma once

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Opens a read-write serial session on `slot`. Throws -5 "Opening PKCS11 session failed". The caller closes it.
CK_SESSION_HANDLE OpenSession(CK_SLOT_ID slot);

/// Closes a session. A failure is logged, never thrown.
void CloseSession(CK_SESSION_HANDLE session);

/// Closes all sessions that this process holds on `slot`. A failure is logged at info level, never thrown: a slot
/// without sessions is the usual case.
void CloseAllSessions(CK_SLOT_ID slot);

/// Returns whether the user (not the security officer) is logged in, by the session's state on the card. Throws -8
/// "Session is invalid".
bool IsUserLoggedIn(CK_SESSION_HANDLE session);

}  // namespace PKCS11
