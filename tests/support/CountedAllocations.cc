#include "tests/support/CountedAllocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QEL_SANITIZED_MEMORY 1
#include <sanitizer/allocator_interface.h>
#endif

namespace {

thread_local size_t t_count = 0;
thread_local size_t t_largest = 0;

void Note(size_t size) {
  ++t_count;
  t_largest = std::max(t_largest, size);
}

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

#ifdef QEL_SANITIZED_MEMORY

// A sanitizer defines operator new itself and tells whoever asks.
[[maybe_unused]] static const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t size) { Note(size); }, [](const volatile void*) {});

#else

// The test program's definitions win over the library's.
void* operator new(size_t size) {
  Note(size);
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

#endif
