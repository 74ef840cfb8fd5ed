#import "token/QELToken.h"

#include <os/log.h>

#include <algorithm>
#include <iterator>

#include "pkcs11/Calls.h"
#import "pkcs11/Format.h"
#include "pkcs11/QELTokenException.h"
#include "pkcs11/Session.h"
#import "settings/QELSettings.h"
#include "token/EntryLock.h"
#import "token/PaddedText.h"
#include "token/ProcessModules.h"
#import "token/QELTokenSession.h"

namespace {

/// "QEL-" and the serial number without its padding. A serial number that is not ASCII stands in hexadecimal: two such
/// cards must not share an identity.
NSString *InstanceID(const CK_TOKEN_INFO &info) {
  const auto &serial = info.serialNumber;
  // Not left to the decoding, which makes other letters of such bytes on some systems.
  const bool isASCII = std::all_of(std::begin(serial), std::end(serial), [](CK_BYTE byte) { return byte < 0x80; });
  NSString *text = isASCII ? TextOfPaddedField(serial, sizeof serial, NSASCIIStringEncoding) : nil;
  if (text != nil) return [@"QEL-" stringByAppendingString:text];
  NSMutableString *instanceID = [NSMutableString stringWithString:@"QEL-"];
  for (const CK_BYTE byte : serial) [instanceID appendFormat:@"%02X", byte];
  return instanceID;
}

/// Only the construction that started the token log reports there; later ones leave the shared log to working tokens.
void ReportConstructionFailure(NSError *error, BOOL startedTokenLog) {
  if (startedTokenLog) {
    Utils::log(QELLog::Error(), @"Failed to initialize smartcard: %@", error);
  } else if (os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_ERROR)) {
    os_log_error(OS_LOG_DEFAULT, "%{public}@", error);
  }
}

}  // namespace

@implementation QELToken

@synthesize hSlots = m_slots;
@synthesize hSessions = m_sessions;

- (nullable instancetype)initWithSmartCard:(TKSmartCard *)smartCard
                                       AID:(nullable NSData *)AID
                               tokenDriver:(TKSmartCardTokenDriver *)tokenDriver
                                     error:(NSError **)error {
  const EntryLock lock;
  // The instance identifier must be known before the platform's initializer runs, so everything that needs the card
  // comes first; on every early way out dealloc closes the sessions opened so far.
  BOOL startedTokenLog = NO;
  NSString *instanceID = nil;
  NSMutableArray<TKTokenKeychainItem *> *items = [NSMutableArray array];
  const auto failure = CatchTokenException([&] {
    startedTokenLog = [self loadSettingsOnce];
    ProcessModules::Instance().Load();
    [self setHSlots:[self slotsCorrespondingToSmartCard:smartCard]];
    instanceID = [self openSessionsCollectingItems:items];
  });
  if (failure && error != nullptr) {
    *error = failure->ToError();
    ReportConstructionFailure(*error, startedTokenLog);
  }
  if (failure || instanceID == nil) {
    [self release];
    return nil;
  }

  self = [self initWithSmartCard:smartCard AID:AID instanceID:instanceID tokenDriver:tokenDriver];
  if (self != nil) {
    if ([self delegate] == nil) [self setDelegate:self];
    [[self keychainContents] fillWithItems:items];
    Utils::log(QELLog::Info(), @"keychain contents filled from card from reader %@", [[smartCard slot] name]);
  }
  return self;
}

/// Returns whether the settings were loaded now, for the process, and started the token log.
- (BOOL)loadSettingsOnce {
  QELSettings *settings = [QELSettings getGlobalSettings];
  if ([settings loadCalled]) return NO;
  [settings loadSettings];
  if (![settings loggingEnabled]) return NO;
  [self initLogging];
  return YES;
}

- (nullable NSString *)openSessionsCollectingItems:(NSMutableArray<TKTokenKeychainItem *> *)items {
  [self setHSessions:[NSMutableArray arrayWithCapacity:[m_slots count]]];
  for (NSNumber *slot in m_slots) PKCS11::CloseAllSessions([slot unsignedLongValue]);

  NSString *instanceID = nil;
  for (NSNumber *slotNumber in m_slots) {
    const CK_SLOT_ID slot = [slotNumber unsignedLongValue];
    const BOOL firstSlot = instanceID == nil;
    if (firstSlot) instanceID = [self readInstanceID:slot];
    if (instanceID == nil) return nil;

    Utils::log(QELLog::Info(), @"Loading content from %@ [slot %d]", instanceID, static_cast<int>(slot));
    const CK_SESSION_HANDLE session = PKCS11::OpenSession(slot);
    [m_sessions addObject:[NSNumber numberWithUnsignedLong:session]];
    [self appendItemsOfSession:session firstSlot:firstSlot toItems:items];
  }
  return instanceID;
}

/// Returns nil when the token information cannot be read: such a card is refused without an error.
- (nullable NSString *)readInstanceID:(CK_SLOT_ID)slot {
  CK_TOKEN_INFO info{};
  const CK_RV rv = PKCS11::Functions()->C_GetTokenInfo(slot, &info);
  if (PKCS11::Succeeded("C_GetTokenInfo", rv, QELLog::LogLevel::Info)) return InstanceID(info);
  QELLog::Info() << "Error while getting TokenInfo, probably unsupported smart card type.";
  return nil;
}

#pragma mark - TKTokenDelegate

- (nullable TKTokenSession *)token:(TKToken *)token createSessionWithError:(NSError **)error {
  const EntryLock lock;
  (void)token;
  (void)error;  // left untouched, also when there is no session
  return [QELTokenSession sessionWithToken:self];
}

- (void)dealloc {
  const EntryLock lock;
  for (NSNumber *session in m_sessions) PKCS11::CloseSession([session unsignedLongValue]);
  [m_sessions release];
  [m_slots release];
  [super dealloc];
}

@end
