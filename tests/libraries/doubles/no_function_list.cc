#include "tests/libraries/doubles/Double.h"

CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType) {
  return TestCard::GetSlotType(slot, slotType);
}
