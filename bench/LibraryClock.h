#pragma once

#include <atomic>
#include <cstdint>

/// The time that a process spends inside its PKCS#11 library, counted by the timing forwarder in front of the library
/// and read by whoever measures: in the file $QEL_BENCH_CLOCK, which both map.
struct LibraryClock {
  std::atomic<uint64_t> nanoseconds;
  std::atomic<uint64_t> calls;

  /// Counts one call. One thread at a time.
  void Add(uint64_t elapsed) {
    nanoseconds.store(nanoseconds.load(std::memory_order_relaxed) + elapsed, std::memory_order_relaxed);
    calls.store(calls.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }

  /// What counting one call takes outside of what it counts, in nanoseconds: part of nobody's own time.
  static double CostOfCounting();

  /// Maps the file, which is made when it is missing. Null when the variable is not set or the file cannot be mapped.
  static LibraryClock* Map();
};

/// Nanoseconds of the monotonic clock.
uint64_t MonotonicNow();
