#include "bench/CountedMallocs.h"

#include <cerrno>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

namespace {

thread_local size_t t_count = 0;

}  // namespace

size_t CountedMallocs() {
  return t_count;
}

// The program's definitions win over the system's, also for the libraries that it loads.
extern "C" void* malloc(size_t size) {
  ++t_count;
  return __libc_malloc(size);
}

extern "C" void* calloc(size_t count, size_t size) {
  ++t_count;
  return __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, size_t size) {
  ++t_count;
  return __libc_realloc(memory, size);
}

extern "C" void* memalign(size_t alignment, size_t size) {
  ++t_count;
  return __libc_memalign(alignment, size);
}

extern "C" void* aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

extern "C" int posix_memalign(void** memory, size_t alignment, size_t size) {
  *memory = memalign(alignment, size);
  return *memory != nullptr ? 0 : ENOMEM;
}
