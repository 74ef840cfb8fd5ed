#include "util/QELUtils.h"

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>

namespace QELUtils {

namespace {

Time Now(std::tm (*toCalendar)(time_t), bool nanoseconds) {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  const auto microseconds = static_cast<uint32_t>(now.tv_usec);
  const std::tm calendar = toCalendar(now.tv_sec);
  if (nanoseconds) return {calendar, 0, uint64_t{microseconds} * 1000};
  return {calendar, microseconds / 1000, 0};
}

}  // namespace

Time GetLocalTime(bool nanoseconds) {
  return Now(localtime_r, nanoseconds);
}

Time GetUTCTime(bool nanoseconds) {
  return Now(gmtime_r, nanoseconds);
}

std::string GetUTCTimeNanoStr() {
  const Time now = GetUTCTime(true);
  char date[50] = "";
  std::strftime(date, sizeof date, "%Y-%m-%dT%T.", &now.calendar);
  char fraction[16] = "";
  std::snprintf(fraction, sizeof fraction, "%09ldZ", static_cast<long>(now.nanoseconds));
  return std::string(date) + fraction;
}

int64_t timegm(const std::tm& calendar) {
  std::tm settled = calendar;
  settled.tm_isdst = -1;
  std::mktime(&settled);  // for the day of year and fields out of range only

  const int64_t year = settled.tm_year;
  return settled.tm_sec + settled.tm_min * int64_t{60} + settled.tm_hour * int64_t{3600} +
         settled.tm_yday * int64_t{86400} + (year - 70) * 31536000 + ((year - 69) / 4) * 86400 -
         ((year - 1) / 100) * 86400 + ((year + 299) / 400) * 86400;
}

std::tm localtime_r(time_t seconds) {
  std::tm calendar{};
  ::localtime_r(&seconds, &calendar);
  return calendar;
}

std::tm gmtime_r(time_t seconds) {
  std::tm calendar{};
  ::gmtime_r(&seconds, &calendar);
  return calendar;
}

pid_t getpid() {
  return ::getpid();
}

int64_t gettid() {
  uint64_t id = 0;
  return pthread_threadid_np(pthread_self(), &id);
}

}  // namespace QELUtils
