#include "tests/libraries/doubles/Double.h"

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  *list = TestCard::FunctionList();
  return CKR_OK;
}

CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType) {
  return TestCard::GetSlotType(slot, slotType);
}
