#pragma once

#include <string.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Host {

/// Overwrites what it frees, also when a vector grows.
template <class T>
struct WipingAllocator {
  using value_type = T;
  WipingAllocator() = default;
  template <class U>
  WipingAllocator(const WipingAllocator<U>&) {}
  T* allocate(size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* memory, size_t count) {
    explicit_bzero(memory, count * sizeof(T));
    std::allocator<T>().deallocate(memory, count);
  }
  bool operator==(const WipingAllocator&) const { return true; }
  bool operator!=(const WipingAllocator&) const { return false; }
};

/// Bytes that may be a passphrase.
using SecretBytes = std::vector<uint8_t, WipingAllocator<uint8_t>>;

}  // namespace Host
