#include "tests/tokenlog/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool t_failing = false;

}  // namespace

FailingAllocation::FailingAllocation() {
  t_failing = true;
}
FailingAllocation::~FailingAllocation() {
  t_failing = false;
}

void* operator new(size_t size) {
  void* const memory = t_failing ? nullptr : std::malloc(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
