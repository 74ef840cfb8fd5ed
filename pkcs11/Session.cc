#include "pkcs11/Session.h"

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"

namespace PKCS11 {

CK_SESSION_HANDLE OpenSession(CK_SLOT_ID slot) {
  CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
  Require("C_OpenSession",
          Functions()->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
          QELTokenError::OpenSession, "Opening PKCS11 session failed");
  return session;
}

void CloseSession(CK_SESSION_HANDLE session) {
  Succeeded("C_CloseSession", Functions()->C_CloseSession(session));
}

void CloseAllSessions(CK_SLOT_ID slot) {
  Succeeded("C_CloseAllSessions", Functions()->C_CloseAllSessions(slot), QELLog::LogLevel::Info);
}

bool IsUserLoggedIn(CK_SESSION_HANDLE session) {
  CK_SESSION_INFO info{};
  Require("C_GetSessionInfo", Functions()->C_GetSessionInfo(session, &info), QELTokenError::SessionState,
          "Session is invalid");
  return info.state == CKS_RO_USER_FUNCTIONS || info.state == CKS_RW_USER_FUNCTIONS;
}

}  // namespace PKCS11
