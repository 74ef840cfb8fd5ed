#pragma once

#include "tests/support/card/Card.h"

/// The entry points that a double may have. What it does not define, it lacks.
extern "C" {
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list);
CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType);
int PINPadDialogP(int first, int second, int third);
}

/// The function list of the program's card, as a copy to be changed in one place.
inline CK_FUNCTION_LIST& Changeable() {
  static CK_FUNCTION_LIST list = *TestCard::FunctionList();
  return list;
}
