#import "bundle/app/SmartCards.h"

#import "bundle/app/PublishedCertificate.h"
#import "bundle/app/ShownText.h"

@implementation QELKnownToken

@synthesize tokenID = m_tokenID;
@synthesize driver = m_driver;
@synthesize isOurs = m_ours;
@synthesize certificates = m_certificates;

- (instancetype)initWithID:(NSString *)tokenID driverName:(NSString *)driverName identifier:(NSString *)identifier {
  self = [super init];
  if (!self) {
    return nil;
  }
  NSString *driver = [[tokenID componentsSeparatedByString:@":"] objectAtIndex:0];
  m_tokenID = [QELShownText(tokenID) copy];
  m_driver = [QELShownText([driverName length] > 0 ? driverName : driver) copy];
  m_ours = identifier != nil && [driver isEqual:identifier];
  m_certificates = [[QELPublishedCertificate certificatesOfToken:tokenID] retain];
  return self;
}

- (void)dealloc {
  [m_tokenID release];
  [m_driver release];
  [m_certificates release];
  [super dealloc];
}

@end

@implementation QELKnownReader

@synthesize name = m_name;
@synthesize state = m_state;
@synthesize tokens = m_tokens;

- (instancetype)initWithName:(NSString *)name state:(TKSmartCardSlotState)state {
  self = [super init];
  if (self) {
    m_name = [QELShownText(name) copy];
    m_state = state;
    m_tokens = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [m_name release];
  [m_tokens release];
  [super dealloc];
}

- (void)addToken:(QELKnownToken *)token {
  [m_tokens addObject:token];
}

@end

/// From macOS 12 on the watcher tells the reader and the driver of a token.
static id InfoOf(TKTokenWatcher *watcher, NSString *tokenID) {
  SEL question = @selector(tokenInfoForTokenID:);
  return [watcher respondsToSelector:question] ? [watcher performSelector:question withObject:tokenID] : nil;
}

/// The one reader with a card, nil when there is none or several have one.
static QELKnownReader *OnlyReaderWithACard(NSArray *readers) {
  QELKnownReader *only = nil;
  for (QELKnownReader *reader in readers) {
    if ([reader state] != TKSmartCardSlotStateValidCard) {
      continue;
    }
    if (only != nil) {
      return nil;
    }
    only = reader;
  }
  return only;
}

/// `name` is nil when the system does not tell it.
static QELKnownReader *ReaderNamed(NSString *name, NSMutableArray *readers) {
  QELKnownReader *reader = name == nil ? OnlyReaderWithACard(readers) : nil;
  for (QELKnownReader *known in readers) {
    if (reader == nil && [[known name] isEqual:QELShownText(name)]) {
      reader = known;
    }
  }
  if (reader == nil) {
    reader = [[[QELKnownReader alloc] initWithName:name state:TKSmartCardSlotStateValidCard] autorelease];
    [readers addObject:reader];
  }
  return reader;
}

/// The system's own tokens that are no cards, such as the processor's.
static BOOL IsNoCard(QELKnownToken *token, id info) {
  return ![token isOurs] && ([[token tokenID] hasPrefix:@"com.apple.setoken"] ||
                             (info != nil && [[info valueForKey:@"slotName"] length] == 0));
}

NSArray *QELKnownReaders(TKTokenWatcher *watcher, TKSmartCardSlotManager *manager, NSString *identifier) {
  NSMutableArray *readers = [NSMutableArray array];
  for (NSString *name in [manager slotNames]) {
    const TKSmartCardSlotState state = [[manager slotNamed:name] state];
    [readers addObject:[[[QELKnownReader alloc] initWithName:name state:state] autorelease]];
  }
  for (NSString *tokenID in [watcher tokenIDs]) {
    id info = InfoOf(watcher, tokenID);
    QELKnownToken *token = [[[QELKnownToken alloc] initWithID:tokenID
                                                   driverName:[info valueForKey:@"driverName"]
                                                   identifier:identifier] autorelease];
    if (!IsNoCard(token, info)) {
      [ReaderNamed([info valueForKey:@"slotName"], readers) addToken:token];
    }
  }
  return readers;
}
