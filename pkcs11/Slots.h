#pragma once

#include <array>
#include <vector>

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// The slot description as PKCS#11 gives it: UTF-8, padded with blanks, not terminated.
using SlotDescription = std::array<CK_UTF8CHAR, 64>;

/// Returns all slots, with or without a token, in the library's order; at least one. Throws -4 when the list cannot be
/// had or there is no slot. Of a list that grew while it was read, the slots that were asked for are returned.
std::vector<CK_SLOT_ID> SlotList();

/// Returns the description of one slot. Throws -4 "Getting slot info failed".
SlotDescription DescriptionOfSlot(CK_SLOT_ID slot);

}  // namespace PKCS11
