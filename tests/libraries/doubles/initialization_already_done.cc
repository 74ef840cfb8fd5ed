#include "tests/libraries/doubles/Double.h"

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  Changeable().C_Initialize = [](void*) -> CK_RV { return CKR_CRYPTOKI_ALREADY_INITIALIZED; };
  *list = &Changeable();
  return CKR_OK;
}
