// Foundation declares the counting for debug builds only; its library has it in every build.
#undef NDEBUG
#include "platform/testing/LiveObjectCount.h"

long LiveObjectCount(Class objectClass) {
  GSDebugAllocationActive(YES);
  return GSDebugAllocationCount(objectClass);
}
