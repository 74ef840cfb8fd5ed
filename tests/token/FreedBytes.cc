#include "tests/token/FreedBytes.h"

#include <array>
#include <cstdlib>
#include <cstring>

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QEL_SANITIZED_MEMORY 1
#include <sanitizer/allocator_interface.h>
#endif

namespace {

std::array<char, 4096> g_content;  // nothing is allocated while something is freed
const volatile void* g_watched = nullptr;
size_t g_size = 0;
bool g_freed = false;

void Look(const volatile void* memory) {
  if (memory == nullptr || memory != g_watched) return;
  std::memcpy(g_content.data(), const_cast<const void*>(memory), g_size);
  g_watched = nullptr;
  g_freed = true;
}

}  // namespace

FreedBytes::FreedBytes() {
  g_freed = false;
}

FreedBytes::~FreedBytes() {
  g_watched = nullptr;
}

void FreedBytes::Watch(const void* memory, size_t size) {
  if (size > g_content.size()) std::abort();
  g_size = size;
  g_watched = memory;
}

std::string FreedBytes::Content() const {
  return g_freed ? std::string(g_content.data(), g_size) : std::string();
}

#ifdef QEL_SANITIZED_MEMORY

// A sanitizer defines operator delete itself and tells whoever asks.
[[maybe_unused]] static const int installed =
    __sanitizer_install_malloc_and_free_hooks([](const volatile void*, size_t) {}, Look);

#else

// The test program's definitions win over the library's, whose operator new takes from malloc.
void operator delete(void* memory) noexcept {
  Look(memory);
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  Look(memory);
  std::free(memory);
}

#endif
