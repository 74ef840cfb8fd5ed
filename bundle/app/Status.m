#import "bundle/app/Status.h"

#include <QELBuildConstants.h>
#include <time.h>

#import "bundle/app/PinDialogLibrary.h"
#import "bundle/app/PublishedCertificate.h"
#import "bundle/app/Validity.h"

NSString *QELTimeText(NSDate *date) {
  const time_t seconds = (time_t)[date timeIntervalSince1970];
  struct tm parts;
  char text[32];
  strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&seconds, &parts));
  return [NSString stringWithUTF8String:text];
}

static id OrNull(id value) {
  return value == nil ? [NSNull null] : value;
}

static NSString *RegistrationName(QELRegistration registration) {
  switch (registration) {
    case QELRegistrationFound:
      return @"registered";
    case QELRegistrationMissing:
      return @"missing";
    case QELRegistrationOff:
      return @"off";
    case QELRegistrationUnknown:
      break;
  }
  return @"unknown";
}

static NSString *StateName(TKSmartCardSlotState state) {
  switch (state) {
    case TKSmartCardSlotStateEmpty:
      return @"empty";
    case TKSmartCardSlotStateProbing:
      return @"probing";
    case TKSmartCardSlotStateMuteCard:
      return @"mute card";
    case TKSmartCardSlotStateValidCard:
      return @"card";
    case TKSmartCardSlotStateMissing:
      break;
  }
  return @"missing";
}

static NSString *ValidityName(QELValidity validity) {
  switch (validity) {
    case QELValidityNow:
      return @"valid";
    case QELValidityLater:
      return @"not yet valid";
    case QELValidityExpired:
      return @"expired";
    case QELValidityUnknown:
      break;
  }
  return @"unknown";
}

static NSDictionary *DescribedKey(QELPublishedCertificate *certificate) {
  return @{
    @"type" : OrNull([certificate keyType]),
    @"bits" : [NSNumber numberWithInteger:[certificate keySize]],
    @"signs" : [NSNumber numberWithBool:[certificate signs]],
    @"decrypts" : [NSNumber numberWithBool:[certificate decrypts]],
    @"agrees" : [NSNumber numberWithBool:[certificate agrees]],
  };
}

static NSDictionary *DescribedCertificate(QELPublishedCertificate *certificate, NSDate *now) {
  NSDate *end = [certificate notAfter];
  return @{
    @"name" : [certificate name],
    @"notBefore" : [certificate notBefore] == nil ? [NSNull null] : QELTimeText([certificate notBefore]),
    @"notAfter" : end == nil ? [NSNull null] : QELTimeText(end),
    @"validity" : ValidityName(QELValidityOf(certificate, now)),
    @"daysLeft" : end == nil ? [NSNull null] : [NSNumber numberWithInteger:QELDaysBetween(now, end)],
    @"key" : [certificate hasKey] ? DescribedKey(certificate) : [NSNull null],
  };
}

static NSDictionary *DescribedReader(QELKnownReader *reader, NSDate *now) {
  NSMutableArray *tokens = [NSMutableArray array];
  for (QELKnownToken *token in [reader tokens]) {
    NSMutableArray *certificates = [NSMutableArray array];
    for (QELPublishedCertificate *certificate in [token certificates]) {
      [certificates addObject:DescribedCertificate(certificate, now)];
    }
    [tokens addObject:@{
      @"tokenID" : [token tokenID],
      @"driver" : [token driver],
      @"ours" : [NSNumber numberWithBool:[token isOurs]],
      @"certificates" : certificates,
    }];
  }
  return @{@"name" : [reader name], @"state" : StateName([reader state]), @"tokens" : tokens};
}

@implementation QELStatus

@synthesize identifier = m_identifier;
@synthesize registration = m_registration;
@synthesize isPinDialogMissing = m_pinDialogMissing;
@synthesize readersKnown = m_readersKnown;
@synthesize readers = m_readers;

- (instancetype)initWithWatcher:(TKTokenWatcher *)watcher manager:(TKSmartCardSlotManager *)manager {
  self = [super init];
  if (self) {
    m_identifier = [QELContainedExtensionIdentifier() copy];
    m_registration = m_identifier == nil ? QELRegistrationMissing : QELRegistrationOfExtension(m_identifier);
    m_pinDialogMissing = QELIsPinDialogLibraryMissing();
    m_readersKnown = manager != nil;
    m_readers = [QELKnownReaders(watcher, manager, m_identifier) retain];
  }
  return self;
}

- (void)dealloc {
  [m_identifier release];
  [m_readers release];
  [super dealloc];
}

- (NSDictionary *)describedAt:(NSDate *)now {
  NSMutableArray *readers = [NSMutableArray array];
  for (QELKnownReader *reader in m_readers) {
    [readers addObject:DescribedReader(reader, now)];
  }
  return @{
    @"version" : @QEL_VERSION,
    @"time" : QELTimeText(now),
    @"extension" : @{@"identifier" : OrNull(m_identifier), @"registration" : RegistrationName(m_registration)},
    @"pinDialogLibraryMissing" : [NSNumber numberWithBool:m_pinDialogMissing],
    @"readersKnown" : [NSNumber numberWithBool:m_readersKnown],
    @"readers" : readers,
  };
}

@end
