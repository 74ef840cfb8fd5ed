#pragma once

#include "bundle/app/Extern.h"
#import "bundle/app/PublishedCertificate.h"
#import "bundle/app/Status.h"

/// How much a row asks of the user.
typedef enum {
  QELRowCalm,
  QELRowWarning,  ///< something to do before long
  QELRowProblem,  ///< something does not work
} QELRowUrgency;

/// A row of the window, and of what --status prints, in the user's language.
@interface QELStatusRow : NSObject {
  BOOL m_heading;
  NSString *m_title;
  NSString *m_detail;
  NSString *m_advice;
  QELRowUrgency m_urgency;
}

@property(readonly, nonatomic) BOOL isHeading;    ///< of the rows below, such as a reader's
@property(readonly, nonatomic) NSString *title;   ///< never empty
@property(readonly, nonatomic) NSString *detail;  ///< may be empty
@property(readonly, nonatomic)
    NSString *advice;  ///< what to do, one or two sentences; empty when there is nothing to do
@property(readonly, nonatomic) QELRowUrgency urgency;

/// The whole row as a screen reader says it.
- (NSString *)spokenText;

/// The rows of a status: the extension, what it lacks, then each reader with the certificates of its card.
+ (NSArray *)rowsOfStatus:(QELStatus *)status at:(NSDate *)now;

@end

/// "Expires in 12 days", with dates for what is far away.
QEL_APP_EXTERN NSString *QELValidityText(QELPublishedCertificate *certificate, NSDate *now);

/// "RSA, 2048 bits; signs, decrypts".
QEL_APP_EXTERN NSString *QELKeyText(QELPublishedCertificate *certificate);
