#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <string>

/// Time stamps, process and thread numbers, as the logs print them.
namespace QELUtils {

/// A moment, with its sub-second part in the one of the two units that was asked for; the other is 0.
struct Time {
  std::tm calendar;       ///< as the platform's conversion fills it
  uint32_t milliseconds;  ///< 0 to 999, truncated
  uint64_t nanoseconds;   ///< 0 to 999,999,000; the clock has microseconds
};

/// Returns the current time in the local zone.
Time GetLocalTime(bool nanoseconds);

/// Returns the current time in UTC.
Time GetUTCTime(bool nanoseconds);

/// Returns the current time in UTC as "2024-03-05T07:08:09.123456000Z".
std::string GetUTCTimeNanoStr();

/// Returns the seconds since the Epoch of a UTC calendar time, as POSIX defines them. Day of year and fields out of
/// range are settled by the local zone's mktime: an hour that the zone skips in spring moves with it.
int64_t timegm(const std::tm& calendar);

/// Returns the local calendar time of `seconds` since the Epoch; wraps the platform's reentrant conversion.
std::tm localtime_r(time_t seconds);

/// Returns the UTC calendar time of `seconds` since the Epoch; wraps the platform's reentrant conversion.
std::tm gmtime_r(time_t seconds);

/// Returns the process id.
pid_t getpid();

/// Returns the status of the platform's call, not the thread id: 0 on every thread, and log lines show that 0. Stays
/// so.
int64_t gettid();

}  // namespace QELUtils
