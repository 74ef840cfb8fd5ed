#pragma once

#include <cstddef>
#include <string>

/// What stood in a piece of memory at the moment it was freed: whatever comes into it later does not count. One at a
/// time; the test program's own operator delete looks.
class FreedBytes {
 public:
  FreedBytes();
  ~FreedBytes();
  FreedBytes(const FreedBytes&) = delete;
  FreedBytes& operator=(const FreedBytes&) = delete;

  /// Looks at `size` bytes at `memory`, which begin what operator new gave, when they are freed.
  void Watch(const void* memory, size_t size);

  /// The bytes; empty while they are not freed.
  std::string Content() const;
};
