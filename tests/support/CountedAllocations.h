#pragma once

#include <cstddef>

/// Counts what this thread takes with operator new (in a sanitized build with malloc too) during the lifetime of the
/// object.
class CountedAllocations {
 public:
  CountedAllocations();

  /// Number of allocations since the start.
  size_t Count() const;
  /// Size in bytes of the largest one.
  size_t Largest() const;
};
