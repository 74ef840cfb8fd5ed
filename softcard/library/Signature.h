#ifndef SOFTCARD_SIGNATURE_H
#define SOFTCARD_SIGNATURE_H

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

/// C_SignInit and C_Sign of a configured card. Asked for the length of an ECDSA signature, C_Sign answers the length
/// that it will have, which callers rely on when they take it apart: NSS softoken answers that of its longest curve.
CK_RV CardSignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
CK_RV CardSign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
               CK_ULONG* signatureLength);

}  // namespace SoftCard

#endif
