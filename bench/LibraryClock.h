#pragma once

#include <atomic>
#include <cstdint>

/// The time that a process spends inside its PKCS#11 library, counted by the timing forwarder in front of the library
/// and read by whoever measures: in the file $QEL_BENCH_CLOCK, which both map.
struct LibraryClock {
  std::atomic<uint64_t> nanoseconds;
  std::atomic<uint64_t> calls;

  /// Maps the file, which is made when it is missing. Null when the variable is not set or the file cannot be mapped.
  static LibraryClock* Map();
};

/// Nanoseconds of the monotonic clock.
uint64_t MonotonicNow();
