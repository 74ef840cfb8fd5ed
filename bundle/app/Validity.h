#pragma once

#include "bundle/app/Extern.h"
#import "bundle/app/PublishedCertificate.h"

/// Where a certificate's time stands.
typedef enum {
  QELValidityUnknown,  ///< The certificate tells no dates.
  QELValidityLater,
  QELValidityNow,
  QELValidityExpired,
} QELValidity;

/// The certificate's validity at `now`, to the second.
QEL_APP_EXTERN QELValidity QELValidityOf(QELPublishedCertificate *certificate, NSDate *now);

/// Days of the local calendar from `from` to `to`: 1 from today to tomorrow at any time of day, -1 to yesterday.
QEL_APP_EXTERN NSInteger QELDaysBetween(NSDate *from, NSDate *to);
