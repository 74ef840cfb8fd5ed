#include "tests/libraries/doubles/Double.h"

int PINPadDialogP(int, int, int) {
  return 0;
}
