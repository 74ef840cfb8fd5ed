// A loadable PKCS#11 library whose functions are those of the test program that loads it.

#include "tests/support/card/Card.h"

extern "C" {
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list);
CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType);

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  *list = TestCard::FunctionList();
  return CKR_OK;
}

CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType) {
  return TestCard::GetSlotType(slot, slotType);
}
}
