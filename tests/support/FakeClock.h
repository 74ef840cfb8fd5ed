#pragma once

#include <cstdint>
#include <string>

/// Stops the clock that the product reads at a moment, for its lifetime. The test program's own gettimeofday answers.
class FakeClock {
 public:
  FakeClock(int64_t seconds, int32_t microseconds);
  ~FakeClock();
  /// How often the clock has been read since it was stopped.
  int Reads() const;

  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;
};

/// Sets the local time zone for its lifetime, by a POSIX rule such as "CET-1CEST,M3.5.0,M10.5.0/3".
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone);
  ~ScopedTimeZone();
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  std::string m_previous;
  bool m_wasSet;
};
