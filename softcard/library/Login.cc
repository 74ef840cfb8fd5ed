#include "softcard/library/Login.h"

#include <openssl/crypto.h>

#include <functional>

#include "softcard/library/Beneath.h"
#include "softcard/library/Cards.h"
#include "softcard/state/PinPad.h"
#include "softcard/state/Tries.h"

namespace SoftCard {

namespace {

constexpr std::chrono::seconds kPinPadPatience{60};

/// The session's place; none when the session is unknown or its card is gone.
std::optional<Place> PlaceOf(CK_SESSION_HANDLE session) {
  const auto slot = Cards::Shared().SlotOfSession(session);
  auto place = slot ? Cards::Shared().Find(*slot) : std::nullopt;
  return place && place->card ? place : std::nullopt;
}

CK_STATE StateOf(CK_SESSION_HANDLE session) {
  CK_SESSION_INFO info{};
  return Beneath()->C_GetSessionInfo(session, &info) == CKR_OK ? info.state : CKS_RO_PUBLIC_SESSION;
}

/// Runs `attempt`, which hands a PIN to the library beneath, and counts its result on the card.
CK_RV Counted(const Place& place, const std::function<CK_RV()>& attempt) {
  CK_RV result = CKR_DEVICE_REMOVED;
  ChangeTries(Cards::Directory(), place.card->name, place.token, [&](int& tries) {
    result = tries > 0 ? attempt() : CKR_PIN_LOCKED;
    if (result == CKR_PIN_INCORRECT) tries--;
    if (result == CKR_OK) tries = kPinTries;
  });
  return result;
}

CK_RV LoginAtPinPad(CK_SESSION_HANDLE session, CK_USER_TYPE user, const Place& place) {
  if (place.card->tokens[place.token].triesLeft <= 0) return CKR_PIN_LOCKED;
  const auto state = StateOf(session);
  if (state == CKS_RO_USER_FUNCTIONS || state == CKS_RW_USER_FUNCTIONS) return CKR_USER_ALREADY_LOGGED_IN;
  auto answer = WaitForPinPad(Cards::Directory(), place.card->name, kPinPadPatience,
                              [&] { return Cards::Shared().CheckSession(session) != CKR_OK; });
  if (answer.kind == PinPadAnswer::Removed) return CKR_DEVICE_REMOVED;
  if (answer.kind != PinPadAnswer::Entered) return CKR_FUNCTION_CANCELED;
  auto* const pin = reinterpret_cast<CK_UTF8CHAR*>(answer.pin.data());
  const auto result = Counted(place, [&] { return Beneath()->C_Login(session, user, pin, answer.pin.size()); });
  OPENSSL_cleanse(answer.pin.data(), answer.pin.size());
  return result;
}

}  // namespace

CK_RV CardLogin(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_UTF8CHAR* pin, CK_ULONG length) {
  const auto gone = Cards::Shared().CheckSession(session);
  if (gone != CKR_OK) return gone;
  const auto place = PlaceOf(session);
  if (!place || user == CKU_SO) return Beneath()->C_Login(session, user, pin, length);
  if (!pin && place->card->pinPad) return LoginAtPinPad(session, user, *place);
  return Counted(*place, [&] { return Beneath()->C_Login(session, user, pin, length); });
}

CK_RV CardSetPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR* oldPin, CK_ULONG oldLength, CK_UTF8CHAR* newPin,
                 CK_ULONG newLength) {
  const auto gone = Cards::Shared().CheckSession(session);
  if (gone != CKR_OK) return gone;
  const auto place = PlaceOf(session);
  const auto change = [&] { return Beneath()->C_SetPIN(session, oldPin, oldLength, newPin, newLength); };
  // The security officer's session changes the security officer's PIN, which has no counter.
  return place && StateOf(session) != CKS_RW_SO_FUNCTIONS ? Counted(*place, change) : change();
}

CK_RV CardInitPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR* pin, CK_ULONG length) {
  const auto gone = Cards::Shared().CheckSession(session);
  if (gone != CKR_OK) return gone;
  const auto place = PlaceOf(session);
  const auto result = Beneath()->C_InitPIN(session, pin, length);
  if (place && result == CKR_OK)
    ChangeTries(Cards::Directory(), place->card->name, place->token, [](int& tries) { tries = kPinTries; });
  return result;
}

CK_FLAGS PinFlags(const Card& card, const Token& token) {
  CK_FLAGS flags = card.pinPad ? CKF_PROTECTED_AUTHENTICATION_PATH : 0;
  if (token.triesLeft < kPinTries) flags |= CKF_USER_PIN_COUNT_LOW;
  if (token.triesLeft == 1) flags |= CKF_USER_PIN_FINAL_TRY;
  if (token.triesLeft <= 0) flags |= CKF_USER_PIN_LOCKED;
  return flags;
}

}  // namespace SoftCard
