#include "tests/support/CountedAllocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local size_t t_count = 0;
thread_local size_t t_largest = 0;

}  // namespace

CountedAllocations::CountedAllocations() {
  t_count = 0;
  t_largest = 0;
}

size_t CountedAllocations::Count() const {
  return t_count;
}

size_t CountedAllocations::Largest() const {
  return t_largest;
}

// The test program's definitions win over the library's.
void* operator new(size_t size) {
  ++t_count;
  t_largest = std::max(t_largest, size);
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
