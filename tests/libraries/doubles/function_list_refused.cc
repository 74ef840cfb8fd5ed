#include "tests/libraries/doubles/Double.h"

// Refuses although there is a list: the result counts, not the pointer.
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  *list = TestCard::FunctionList();
  return CKR_HOST_MEMORY;
}
