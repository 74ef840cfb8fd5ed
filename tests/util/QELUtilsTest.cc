#include "util/QELUtils.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/FakeClock.h"

namespace {

constexpr char kCentralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr int64_t kDay = 86400;

std::tm Calendar(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm calendar{};
  calendar.tm_year = year - 1900;
  calendar.tm_mon = month - 1;
  calendar.tm_mday = day;
  calendar.tm_hour = hour;
  calendar.tm_min = minute;
  calendar.tm_sec = second;
  return calendar;
}

TEST(QELUtils, TheSubSecondPartIsInTheUnitThatWasAskedFor) {
  const ScopedTimeZone zone("UTC0");
  const FakeClock noon(1709640000, 999999);  // 2024-03-05 12:00:00 UTC
  for (const auto get : {QELUtils::GetLocalTime, QELUtils::GetUTCTime}) {
    const auto [calendar, milliseconds, zeroNanoseconds] = get(false);
    EXPECT_EQ(calendar.tm_hour, 12);
    EXPECT_EQ(milliseconds, 999u);
    EXPECT_EQ(zeroNanoseconds, 0u);
    const auto [sameCalendar, zeroMilliseconds, nanoseconds] = get(true);
    EXPECT_EQ(sameCalendar.tm_sec, 0);
    EXPECT_EQ(zeroMilliseconds, 0u);
    EXPECT_EQ(nanoseconds, 999999000u);
  }
}

TEST(QELUtils, LocalTimeIsInTheZoneAndUtcIsNot) {
  const ScopedTimeZone zone(kCentralEurope);
  const FakeClock summer(1719792000, 0);  // 2024-07-01 00:00:00 UTC
  const std::tm local = QELUtils::GetLocalTime(false).calendar;
  const std::tm utc = QELUtils::GetUTCTime(false).calendar;
  EXPECT_EQ(local.tm_hour, 2);
  EXPECT_EQ(local.tm_isdst, 1);
  EXPECT_EQ(local.tm_gmtoff, 7200);
  EXPECT_STREQ(local.tm_zone, "CEST");
  EXPECT_EQ(utc.tm_hour, 0);
  EXPECT_EQ(utc.tm_mon, 6);
  EXPECT_EQ(utc.tm_year, 124);
  EXPECT_EQ(utc.tm_yday, 182);
  EXPECT_EQ(utc.tm_wday, 1);
}

TEST(QELUtils, TheClockIsTheSystems) {
  const auto before = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::tm now = QELUtils::GetUTCTime(false).calendar;
  const auto after = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  EXPECT_GE(QELUtils::timegm(now), before);
  EXPECT_LE(QELUtils::timegm(now), after);
}

TEST(QELUtils, EveryTimeIsOneReadingOfTheClock) {
  const FakeClock clock(1709640000, 999999);
  QELUtils::GetLocalTime(false);
  EXPECT_EQ(clock.Reads(), 1);
  QELUtils::GetUTCTime(true);
  EXPECT_EQ(clock.Reads(), 2);
  QELUtils::GetUTCTimeNanoStr();
  EXPECT_EQ(clock.Reads(), 3);
}

TEST(QELUtils, TheUtcStampHasNineDigitsOfNanoseconds) {
  const ScopedTimeZone zone(kCentralEurope);
  {
    const FakeClock epoch(0, 1);
    EXPECT_EQ(QELUtils::GetUTCTimeNanoStr(), "1970-01-01T00:00:00.000001000Z");
  }
  const FakeClock clock(1709622489, 123456);
  EXPECT_EQ(QELUtils::GetUTCTimeNanoStr(), "2024-03-05T07:08:09.123456000Z");
}

TEST(QELUtils, TheUtcStampHasTheCalendarsYearAndADayOf24Hours) {
  const std::pair<time_t, const char*> rows[] = {
      {-1, "1969-12-31T23:59:59.000999000Z"},          {-1577923201, "1919-12-31T23:59:59.000999000Z"},
      {946684799, "1999-12-31T23:59:59.000999000Z"},   {1609545600, "2021-01-02T00:00:00.000999000Z"},
      {1609592400, "2021-01-02T13:00:00.000999000Z"},  {4102444800, "2100-01-01T00:00:00.000999000Z"},
      {253402300799, "9999-12-31T23:59:59.000999000Z"}};
  for (const auto& [seconds, stamp] : rows) {
    const FakeClock clock(seconds, 999);
    EXPECT_EQ(QELUtils::GetUTCTimeNanoStr(), stamp);
  }
}

TEST(QELUtils, TimegmGivesTheKnownMoments) {
  const ScopedTimeZone zone("UTC0");
  EXPECT_EQ(QELUtils::timegm(Calendar(1970, 1, 1)), 0);
  EXPECT_EQ(QELUtils::timegm(Calendar(2000, 3, 1)), 951868800);
  EXPECT_EQ(QELUtils::timegm(Calendar(2024, 3, 5, 7, 8, 9)), 1709622489);
}

// Leap days before 1969 are rounded towards zero, so that days of 1968 and before come out a day late.
TEST(QELUtils, TimegmDividesTowardsZeroBeforeTheEpoch) {
  const ScopedTimeZone zone("UTC0");
  EXPECT_EQ(QELUtils::timegm(Calendar(1969, 12, 31)), -kDay);
  EXPECT_EQ(QELUtils::timegm(Calendar(1968, 1, 1)), -730 * kDay);
  EXPECT_EQ(QELUtils::timegm(Calendar(1960, 1, 1)), (-10 * 365 - 2) * kDay);
}

TEST(QELUtils, TimegmSettlesFieldsOutOfRangeAndLeavesItsArgumentAlone) {
  const ScopedTimeZone zone("UTC0");
  const std::tm calendar = Calendar(2024, 2, 30, 25, 61, 61);
  EXPECT_EQ(QELUtils::timegm(calendar), QELUtils::timegm(Calendar(2024, 3, 2, 2, 2, 1)));
  EXPECT_EQ(calendar.tm_mday, 30);
}

// Hours of the day at which a zone's own rules move a calendar time; noon and midnight never are.
TEST(QELUtils, TimegmAgreesWithThePlatformsOnEveryDayOf1970To2200) {
  for (const char* rule : {"UTC0", kCentralEurope}) {
    const ScopedTimeZone zone(rule);
    int64_t days = 0;
    for (int64_t day = 0; day * kDay < 7289654400; ++day, ++days) {  // 2201-01-01
      for (const int64_t second : {int64_t{0}, int64_t{43200}, kDay - 1}) {
        std::tm calendar = QELUtils::gmtime_r(day * kDay + second);
        const int64_t ours = QELUtils::timegm(calendar);
        ASSERT_EQ(ours, ::timegm(&calendar)) << rule << ", day " << day;
        ASSERT_EQ(ours, day * kDay + second) << rule << ", day " << day;
      }
    }
    EXPECT_EQ(days, 84371);
  }
}

// The platform's own timegm knows no zone. Ours asks the local mktime, so the hour that the zone skips in spring, and
// only that hour, comes back moved by the length of the gap.
TEST(QELUtils, TimegmDiffersFromThePlatformsOnlyInTheHourThatTheZoneSkips) {
  const ScopedTimeZone zone(kCentralEurope);
  int moved = 0;
  for (int64_t hour = 0; hour < int64_t{84371} * 24; ++hour) {
    std::tm calendar = QELUtils::gmtime_r(hour * 3600);
    const int64_t difference = QELUtils::timegm(calendar) - ::timegm(&calendar);
    if (difference == 0) continue;
    ASSERT_EQ(std::abs(difference), 3600) << hour;
    ASSERT_EQ(calendar.tm_hour, 2);
    ASSERT_EQ(calendar.tm_mon, 2);
    ASSERT_EQ(calendar.tm_wday, 0);
    ASSERT_GE(calendar.tm_mday, 25);
    ++moved;
  }
  EXPECT_EQ(moved, 231) << "once a year";
}

TEST(QELUtils, TheReentrantConversionsAreThePlatforms) {
  const ScopedTimeZone zone(kCentralEurope);
  const std::tm local = QELUtils::localtime_r(0);
  EXPECT_EQ(local.tm_hour, 1);
  EXPECT_EQ(local.tm_year, 70);
  const std::tm utc = QELUtils::gmtime_r(-1);
  EXPECT_EQ(utc.tm_hour, 23);
  EXPECT_EQ(utc.tm_year, 69);
}

TEST(QELUtils, TheProcessIdIsThePlatforms) {
  EXPECT_EQ(QELUtils::getpid(), ::getpid());
}

TEST(QELUtils, TheProcessIdIsTheChildsAfterAFork) {
  ASSERT_EQ(QELUtils::getpid(), ::getpid());
  const pid_t child = ::fork();
  if (child == 0) ::_exit(QELUtils::getpid() == ::getpid() ? 0 : 1);
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(QELUtils, TheThreadNumberIsZeroOnEveryThread) {
  EXPECT_EQ(QELUtils::gettid(), 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([] { EXPECT_EQ(QELUtils::gettid(), 0); });
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
