#ifndef SOFTCARD_LOGIN_H
#define SOFTCARD_LOGIN_H

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

struct Card;
struct Token;

/// The PIN calls of a configured card. They keep the retry counter that the library beneath lacks: a wrong user PIN
/// takes one of three tries, a right one gives them back, and with none left the answer is CKR_PIN_LOCKED, whatever
/// the PIN. The counter is the card's, so it outlives the process. Signatures are the standard's.
CK_RV CardLogin(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_UTF8CHAR* pin, CK_ULONG length);
CK_RV CardSetPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR* oldPin, CK_ULONG oldLength, CK_UTF8CHAR* newPin,
                 CK_ULONG newLength);
CK_RV CardInitPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR* pin, CK_ULONG length);

/// The flags of the token information that a card adds: the state of its retry counter, and its PIN pad.
CK_FLAGS PinFlags(const Card& card, const Token& token);

}  // namespace SoftCard

#endif
