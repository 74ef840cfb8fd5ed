#import "bundle/app/Validity.h"

#include <time.h>

QELValidity QELValidityOf(QELPublishedCertificate *certificate, NSDate *now) {
  if ([certificate notBefore] == nil || [certificate notAfter] == nil) {
    return QELValidityUnknown;
  }
  if ([now compare:[certificate notBefore]] == NSOrderedAscending) {
    return QELValidityLater;
  }
  return [now compare:[certificate notAfter]] == NSOrderedDescending ? QELValidityExpired : QELValidityNow;
}

static double NoonOf(NSDate *date) {
  const time_t seconds = (time_t)[date timeIntervalSince1970];
  struct tm parts;
  localtime_r(&seconds, &parts);
  parts.tm_hour = 12;  // exists on every day, whatever clocks do at night
  parts.tm_min = parts.tm_sec = 0;
  parts.tm_isdst = -1;
  return (double)mktime(&parts);
}

NSInteger QELDaysBetween(NSDate *from, NSDate *to) {
  const double days = (NoonOf(to) - NoonOf(from)) / (24 * 60 * 60);  // an hour more or less than whole ones
  return (NSInteger)(days < 0 ? days - 0.5 : days + 0.5);
}
