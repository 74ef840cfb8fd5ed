#import "bundle/app/StatusRows.h"

#include <QELBuildConstants.h>

#import "bundle/app/Validity.h"

static const NSInteger kCountedDays = 60;  // what is further away is told as a date
static const NSInteger kWarnedDays = 30;

static NSString *DayText(NSDate *date) {
  NSDateFormatter *formatter = [[[NSDateFormatter alloc] init] autorelease];
  [formatter setDateStyle:NSDateFormatterLongStyle];
  [formatter setTimeStyle:NSDateFormatterNoStyle];
  return [formatter stringFromDate:date];
}

static NSString *EndText(NSDate *end, NSInteger days) {
  if (days > kCountedDays) {
    return [NSString stringWithFormat:NSLocalizedString(@"Valid until %@", @"of a certificate; a date"), DayText(end)];
  }
  if (days > 1) {
    return [NSString stringWithFormat:NSLocalizedString(@"Expires in %ld days", @"two days or more"), (long)days];
  }
  return days == 1 ? NSLocalizedString(@"Expires tomorrow", @"of a certificate")
                   : NSLocalizedString(@"Expires today", @"of a certificate");
}

static NSString *ExpiredText(NSDate *end, NSInteger days) {
  if (days < -kCountedDays) {
    return [NSString stringWithFormat:NSLocalizedString(@"Expired on %@", @"of a certificate; a date"), DayText(end)];
  }
  if (days < -1) {
    return [NSString stringWithFormat:NSLocalizedString(@"Expired %ld days ago", @"two days or more"), (long)-days];
  }
  return days == -1 ? NSLocalizedString(@"Expired yesterday", @"of a certificate")
                    : NSLocalizedString(@"Expired today", @"of a certificate");
}

NSString *QELValidityText(QELPublishedCertificate *certificate, NSDate *now) {
  const NSInteger days = QELDaysBetween(now, [certificate notAfter]);
  switch (QELValidityOf(certificate, now)) {
    case QELValidityLater:
      return [NSString stringWithFormat:NSLocalizedString(@"Valid from %@", @"of a certificate; a date to come"),
                                        DayText([certificate notBefore])];
    case QELValidityNow:
      return EndText([certificate notAfter], days);
    case QELValidityExpired:
      return ExpiredText([certificate notAfter], days);
    case QELValidityUnknown:
      break;
  }
  return NSLocalizedString(@"Its dates cannot be read", @"of a certificate");
}

static NSString *AbilitiesText(QELPublishedCertificate *certificate) {
  NSMutableArray *abilities = [NSMutableArray array];
  if ([certificate signs]) {
    [abilities addObject:NSLocalizedString(@"signs", @"what a key does")];
  }
  if ([certificate decrypts]) {
    [abilities addObject:NSLocalizedString(@"decrypts", @"what a key does")];
  }
  if ([certificate agrees]) {
    [abilities addObject:NSLocalizedString(@"agrees on keys", @"what a key does: key agreement")];
  }
  return [abilities count] > 0 ? [abilities componentsJoinedByString:@", "]
                               : NSLocalizedString(@"does nothing by itself", @"of a key without abilities");
}

NSString *QELKeyText(QELPublishedCertificate *certificate) {
  if (![certificate hasKey]) {
    return NSLocalizedString(@"no key", @"of a certificate");
  }
  NSString *abilities = AbilitiesText(certificate);
  if ([certificate keyType] == nil) {
    return abilities;
  }
  return
      [NSString stringWithFormat:NSLocalizedString(@"%1$@, %2$ld bits; %3$@", @"RSA or EC, a size, what the key does"),
                                 [certificate keyType], (long)[certificate keySize], abilities];
}

@implementation QELStatusRow

@synthesize isHeading = m_heading;
@synthesize title = m_title;
@synthesize detail = m_detail;
@synthesize advice = m_advice;
@synthesize urgency = m_urgency;

- (instancetype)initHeading:(BOOL)heading title:(NSString *)title detail:(NSString *)detail {
  self = [super init];
  if (self) {
    m_heading = heading;
    m_title = [title copy];
    m_detail = [detail copy];
    m_advice = @"";
    m_urgency = QELRowCalm;
  }
  return self;
}

- (void)dealloc {
  [m_title release];
  [m_detail release];
  [m_advice release];
  [super dealloc];
}

- (void)ask:(NSString *)advice urgency:(QELRowUrgency)urgency {
  [m_advice release];
  m_advice = [advice copy];
  m_urgency = urgency;
}

- (NSString *)spokenText {
  NSMutableArray *texts = [NSMutableArray array];
  for (NSString *text in @[ m_title, m_detail, m_advice ]) {
    if ([text length] > 0) {
      [texts addObject:[text hasSuffix:@"."] ? text : [text stringByAppendingString:@"."]];
    }
  }
  return [texts componentsJoinedByString:@" "];
}

static QELStatusRow *Row(BOOL heading, NSString *title, NSString *detail) {
  return [[[QELStatusRow alloc] initHeading:heading title:title detail:detail] autorelease];
}

static QELStatusRow *ExtensionRow(QELStatus *status) {
  NSString *identifier = [status identifier];
  NSString *detail = [NSString stringWithFormat:NSLocalizedString(@"Version %@", @"of the app"), @QEL_VERSION];
  if (identifier == nil) {
    QELStatusRow *row =
        Row(YES, NSLocalizedString(@"This copy of the app does not contain the extension.", @""), detail);
    [row ask:NSLocalizedString(@"Install the app again.", @"") urgency:QELRowProblem];
    return row;
  }
  detail = [NSString
      stringWithFormat:NSLocalizedString(@"%1$@, version %2$@", @"identifier and version"), identifier, @QEL_VERSION];
  QELStatusRow *row = nil;
  switch ([status registration]) {
    case QELRegistrationFound:
      return Row(YES, NSLocalizedString(@"The extension is registered.", @""), detail);
    case QELRegistrationMissing:
      row = Row(YES, NSLocalizedString(@"The extension is not registered.", @""), detail);
      [row ask:NSLocalizedString(@"Move the app to the Applications folder and open it again.", @"")
          urgency:QELRowProblem];
      break;
    case QELRegistrationOff:
      row = Row(YES, NSLocalizedString(@"The extension is switched off.", @""), detail);
      [row ask:[NSString stringWithFormat:NSLocalizedString(@"To switch it on, type in Terminal: %@", @"a command"),
                                          [@"pluginkit -e use -i " stringByAppendingString:identifier]]
          urgency:QELRowProblem];
      break;
    case QELRegistrationUnknown:
      row = Row(YES, NSLocalizedString(@"The system did not say whether the extension is registered.", @""), detail);
      [row ask:NSLocalizedString(@"Open the app again. If this stays, save a support report for your help desk.", @"")
          urgency:QELRowWarning];
      break;
  }
  return row;
}

static QELStatusRow *PinDialogRow(void) {
  QELStatusRow *row = Row(YES, NSLocalizedString(@"The PIN dialog library of the card's maker is missing.", @""),
                          NSLocalizedString(@"No card works without it.", @"of a library"));
  [row ask:NSLocalizedString(@"Install the software of the card's maker, or ask your administrator to do so.", @"")
      urgency:QELRowProblem];
  return row;
}

static QELStatusRow *CertificateRow(QELPublishedCertificate *certificate, NSDate *now) {
  NSString *name =
      [[certificate name] length] > 0 ? [certificate name] : NSLocalizedString(@"Certificate without a name", @"");
  QELStatusRow *row =
      Row(NO, name,
          [NSString stringWithFormat:NSLocalizedString(@"%1$@; %2$@", @"a certificate's validity, what its key does"),
                                     QELValidityText(certificate, now), QELKeyText(certificate)]);
  const QELValidity validity = QELValidityOf(certificate, now);
  if (validity == QELValidityExpired || validity == QELValidityUnknown) {
    [row ask:NSLocalizedString(@"It cannot be used any more. Ask whoever issued the card for a new certificate.", @"")
        urgency:QELRowProblem];
  } else if (validity == QELValidityLater) {
    [row ask:NSLocalizedString(@"It cannot be used yet. Check the date of this computer.", @"") urgency:QELRowProblem];
  } else if (![certificate hasKey]) {
    [row ask:NSLocalizedString(@"The card has no key for it: nobody can log in or sign with it.", @"")
        urgency:QELRowWarning];
  } else if (QELDaysBetween(now, [certificate notAfter]) <= kWarnedDays) {
    [row ask:NSLocalizedString(@"Ask whoever issued the card for a new certificate in time.", @"")
        urgency:QELRowWarning];
  }
  return row;
}

static NSString *ReaderName(QELKnownReader *reader) {
  return [[reader name] length] > 0 ? [reader name] : NSLocalizedString(@"A reader that the system does not name", @"");
}

/// `explained` when a row above says why no card works.
static QELStatusRow *ReaderRowWithoutToken(QELKnownReader *reader, BOOL explained) {
  NSString *detail = NSLocalizedString(@"The card is not accepted.", @"by any token driver");
  NSString *advice = NSLocalizedString(@"Take the card out and insert it again. If this stays, save a support report "
                                       @"for your help desk.",
                                       @"");
  QELRowUrgency urgency = QELRowProblem;
  switch ([reader state]) {
    case TKSmartCardSlotStateEmpty:
    case TKSmartCardSlotStateMissing:
      detail = NSLocalizedString(@"No card.", @"in the reader");
      advice = NSLocalizedString(@"Insert your card, chip first.", @"");
      urgency = QELRowCalm;
      break;
    case TKSmartCardSlotStateProbing:
      detail = NSLocalizedString(@"The card is being read.", @"");
      advice = @"";
      urgency = QELRowCalm;
      break;
    case TKSmartCardSlotStateMuteCard:
      detail = NSLocalizedString(@"The card does not answer.", @"");
      advice = NSLocalizedString(@"Take it out, wipe its contacts and insert it again, chip first.", @"");
      break;
    case TKSmartCardSlotStateValidCard:
      advice = explained ? @"" : advice;
      break;
  }
  QELStatusRow *row = Row(YES, ReaderName(reader), detail);
  [row ask:advice urgency:urgency];
  return row;
}

static QELStatusRow *TokenRow(QELKnownReader *reader, QELKnownToken *token) {
  if (![token isOurs]) {
    QELStatusRow *row =
        Row(YES, ReaderName(reader),
            [NSString stringWithFormat:NSLocalizedString(@"The card is used by another driver: %@.", @"its name"),
                                       [token driver]]);
    [row ask:NSLocalizedString(@"If this app should use the card, ask your administrator to switch the other driver "
                               @"off.",
                               @"")
        urgency:QELRowWarning];
    return row;
  }
  NSString *instance = [[token tokenID] substringFromIndex:[[token tokenID] rangeOfString:@":"].location + 1];
  QELStatusRow *row =
      Row(YES, ReaderName(reader),
          [NSString stringWithFormat:NSLocalizedString(@"Card %@.", @"the token's identifier"), instance]);
  if ([[token certificates] count] == 0) {
    [row ask:NSLocalizedString(@"The card holds no certificate that can be used. Ask whoever issued it.", @"")
        urgency:QELRowProblem];
  }
  return row;
}

static QELStatusRow *NoReaderRow(QELStatus *status) {
  QELStatusRow *row = Row(YES,
                          [status readersKnown] ? NSLocalizedString(@"No card reader is connected.", @"")
                                                : NSLocalizedString(@"The system knows no card.", @""),
                          @"");
  [row ask:NSLocalizedString(@"Connect a card reader and insert your card, chip first.", @"") urgency:QELRowCalm];
  return row;
}

+ (NSArray *)rowsOfStatus:(QELStatus *)status at:(NSDate *)now {
  NSMutableArray *rows = [NSMutableArray arrayWithObject:ExtensionRow(status)];
  if ([status isPinDialogMissing]) {
    [rows addObject:PinDialogRow()];
  }
  if ([[status readers] count] == 0) {
    [rows addObject:NoReaderRow(status)];
  }
  for (QELKnownReader *reader in [status readers]) {
    if ([[reader tokens] count] == 0) {
      [rows addObject:ReaderRowWithoutToken(reader, [status isPinDialogMissing])];
    }
    for (QELKnownToken *token in [reader tokens]) {
      [rows addObject:TokenRow(reader, token)];
      for (QELPublishedCertificate *certificate in [token certificates]) {
        [rows addObject:CertificateRow(certificate, now)];
      }
    }
  }
  return rows;
}

@end
