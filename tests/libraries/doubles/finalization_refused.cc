#include "tests/libraries/doubles/Double.h"

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  Changeable().C_Finalize = [](void*) -> CK_RV { return CKR_DEVICE_REMOVED; };
  *list = &Changeable();
  return CKR_OK;
}
