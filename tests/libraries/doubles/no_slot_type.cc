#include "tests/libraries/doubles/Double.h"

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  *list = TestCard::FunctionList();
  return CKR_OK;
}
