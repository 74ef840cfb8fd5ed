#import "bundle/app/Validity.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "tests/app/AppCertificate.h"

namespace {

TEST(Validity, IsKnownToTheSecond) {
  NSDate *now = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(time(nullptr))];
  EXPECT_EQ(QELValidityOf(AppCertificate(-10, 60), now), QELValidityNow);
  EXPECT_EQ(QELValidityOf(AppCertificate(-60, -10), now), QELValidityExpired);
  EXPECT_EQ(QELValidityOf(AppCertificate(10, 60), now), QELValidityLater);
}

TEST(Validity, OfWhatIsNoCertificateIsUnknown) {
  QELPublishedCertificate *broken = [[[QELPublishedCertificate alloc] initWithAttributes:@{} key:nil] autorelease];
  EXPECT_EQ(QELValidityOf(broken, [NSDate date]), QELValidityUnknown);
}

/// The local time `text`, as "2026-03-28 23:59".
NSDate *Local(const char *text) {
  struct tm parts = {};
  strptime(text, "%Y-%m-%d %H:%M", &parts);
  parts.tm_isdst = -1;
  return [NSDate dateWithTimeIntervalSince1970:static_cast<double>(mktime(&parts))];
}

TEST(Validity, CountsDaysOfTheCalendarWhateverTheClocksDo) {
  setenv("TZ", "Europe/Vienna", 1);
  tzset();
  const struct {
    const char *from, *to;
    NSInteger days;
  } kRows[] = {
      {"2026-11-22 09:00", "2026-11-22 23:59", 0},  {"2026-11-22 23:59", "2026-11-23 00:01", 1},
      {"2026-11-22 00:01", "2026-11-21 23:59", -1}, {"2026-03-28 12:00", "2026-03-30 12:00", 2},
      {"2026-10-24 23:00", "2026-10-26 01:00", 2},  {"2026-11-22 09:00", "2036-11-22 09:00", 3653},
  };
  for (const auto &row : kRows) {
    EXPECT_EQ(QELDaysBetween(Local(row.from), Local(row.to)), row.days) << row.from << " to " << row.to;
  }
}

}  // namespace
