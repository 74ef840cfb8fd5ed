#include "softcard/library/CardAnswers.h"

#include <algorithm>

#include "softcard/library/Beneath.h"
#include "softcard/library/Cards.h"
#include "softcard/library/Login.h"

namespace SoftCard {

CK_RV CardGetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count) {
  if (!count) return CKR_ARGUMENTS_BAD;
  const auto all = Cards::Shared().Slots(tokenPresent != CK_FALSE);
  const auto room = *count;
  *count = all.size();
  if (!slots) return CKR_OK;
  if (room < all.size()) return CKR_BUFFER_TOO_SMALL;
  std::copy(all.begin(), all.end(), slots);
  return CKR_OK;
}

CK_RV CardGetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
  if (!info) return CKR_ARGUMENTS_BAD;
  const auto place = Cards::Shared().Find(slot);
  if (!place) return CKR_SLOT_ID_INVALID;
  *info = {};
  Pad(place->reader.name, info->slotDescription);
  Pad("Soft card", info->manufacturerID);
  info->flags = CKF_REMOVABLE_DEVICE | (place->card ? CKF_TOKEN_PRESENT : 0);
  return CKR_OK;
}

CK_RV CardGetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
  CK_SLOT_ID beneath = 0;
  auto result = Cards::Shared().SlotBeneath(slot, beneath);
  if (result == CKR_OK) result = Beneath()->C_GetTokenInfo(beneath, info);
  const auto place = Cards::Shared().Find(slot);
  if (result != CKR_OK || !place || !place->card) return result;
  if (!place->card->serial.empty()) Pad(place->card->serial, info->serialNumber);
  // SoftHSM2 notes a wrong PIN too, but never forgets it before a right one: the card's own counter is what holds.
  info->flags &= ~(CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED);
  info->flags |= PinFlags(*place->card, place->card->tokens[place->token]);
  return CKR_OK;
}

CK_RV CardOpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                      CK_SESSION_HANDLE* session) {
  CK_SLOT_ID beneath = 0;
  auto result = Cards::Shared().SlotBeneath(slot, beneath);
  if (result == CKR_OK) result = Beneath()->C_OpenSession(beneath, flags, application, notify, session);
  if (result == CKR_OK) Cards::Shared().SessionOpened(*session, slot);
  return result;
}

CK_RV CardCloseSession(CK_SESSION_HANDLE session) {
  const auto gone = Cards::Shared().CheckSession(session);
  const auto result = gone == CKR_OK ? Beneath()->C_CloseSession(session) : gone;
  Cards::Shared().SessionClosed(session);
  return result;
}

CK_RV CardCloseAllSessions(CK_SLOT_ID slot) {
  CK_SLOT_ID beneath = 0;
  auto result = Cards::Shared().SlotBeneath(slot, beneath);
  if (result == CKR_OK) result = Beneath()->C_CloseAllSessions(beneath);
  if (result == CKR_OK) Cards::Shared().SessionsClosed(slot);
  return result;
}

CK_RV CardGetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info) {
  auto result = Cards::Shared().CheckSession(session);
  if (result == CKR_OK) result = Beneath()->C_GetSessionInfo(session, info);
  const auto slot = Cards::Shared().SlotOfSession(session);
  if (result == CKR_OK && slot) info->slotID = *slot;
  return result;
}

CK_RV CardGetSlotType(CK_SLOT_ID slot, CK_ULONG* type) {
  if (!type) return CKR_ARGUMENTS_BAD;
  *type = kDefaultSlotType;
  if (!Cards::Shared().Configured()) return CKR_OK;
  const auto place = Cards::Shared().Find(slot);
  if (!place) return CKR_SLOT_ID_INVALID;
  if (place->card) *type = place->card->slotType;
  return CKR_OK;
}

}  // namespace SoftCard
