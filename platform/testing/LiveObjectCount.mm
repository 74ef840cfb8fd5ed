// Foundation declares the counting for debug builds only; its library has it in every build.
#undef NDEBUG
#include "platform/testing/LiveObjectCount.h"

#include <cstdlib>

namespace {

long LiveObjectsOfAllClasses() {
  long count = 0;
  Class *const classes = GSDebugAllocationClassList();
  for (Class *each = classes; *each != Nil; ++each) count += GSDebugAllocationCount(*each);
  std::free(classes);
  return count;
}

void Run(const std::function<void()> &body, int times) {
  for (int i = 0; i < times; ++i) {
    @autoreleasepool {
      body();
    }
  }
}

}  // namespace

long LiveObjectCount(Class objectClass) {
  GSDebugAllocationActive(YES);
  return GSDebugAllocationCount(objectClass);
}

long ObjectsLeftBehind(const std::function<void()> &body) {
  GSDebugAllocationActive(YES);
  Run(body, 3);
  const long before = LiveObjectsOfAllClasses();
  Run(body, 10);
  return LiveObjectsOfAllClasses() - before;
}
