#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKTokenWatcherTokenInfo

@synthesize tokenID = m_tokenID;
@synthesize slotName = m_slotName;
@synthesize driverName = m_driverName;

- (instancetype)initWithTokenID:(NSString *)tokenID slotName:(NSString *)slotName driverName:(NSString *)driverName {
  self = [super init];
  if (self) {
    m_tokenID = [tokenID copy];
    m_slotName = [slotName copy];
    m_driverName = [driverName copy];
  }
  return self;
}

- (void)dealloc {
  [m_tokenID release];
  [m_slotName release];
  [m_driverName release];
  [super dealloc];
}

@end
