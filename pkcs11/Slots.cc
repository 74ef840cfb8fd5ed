#include "pkcs11/Slots.h"

#include <algorithm>
#include <iterator>

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"

namespace PKCS11 {
namespace {

constexpr char kListFailed[] = "Getting slot list failed";

void GetSlotList(CK_SLOT_ID* slots, CK_ULONG* count) {
  Require("C_GetSlotList", Functions()->C_GetSlotList(CK_FALSE, slots, count), QELTokenError::ReaderLookup,
          kListFailed);
}

}  // namespace

std::vector<CK_SLOT_ID> SlotList() {
  CK_ULONG count = 0;
  GetSlotList(nullptr, &count);
  if (count == 0) {
    QELLog::Error() << "no slot found";
    throw QELTokenException(QELTokenError::ReaderLookup, "No smart card reader found");
  }
  if (count > kLargestAnswer / sizeof(CK_SLOT_ID)) {
    QELLog::Error() << "C_GetSlotList() reports no usable number of slots";
    throw QELTokenException(QELTokenError::ReaderLookup, kListFailed);
  }
  std::vector<CK_SLOT_ID> slots(count);
  GetSlotList(slots.data(), &count);
  slots.resize(std::min<size_t>(count, slots.size()));
  return slots;
}

SlotDescription DescriptionOfSlot(CK_SLOT_ID slot) {
  CK_SLOT_INFO info{};
  // The log names the list call, not the failing one; whoever reads these logs searches for that line.
  Require("C_GetSlotList", Functions()->C_GetSlotInfo(slot, &info), QELTokenError::ReaderLookup,
          "Getting slot info failed");
  SlotDescription description;
  std::copy(std::begin(info.slotDescription), std::end(info.slotDescription), description.begin());
  return description;
}

}  // namespace PKCS11
