#import <CryptoTokenKit/TKSmartCardToken.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKSmartCardToken

@synthesize AID = m_AID;

- (instancetype)initWithSmartCard:(TKSmartCard *)smartCard
                              AID:(NSData *)AID
                       instanceID:(NSString *)instanceID
                      tokenDriver:(TKSmartCardTokenDriver *)tokenDriver {
  self = [super initWithTokenDriver:tokenDriver instanceID:instanceID];
  if (self) {
    m_smartCard = [smartCard retain];
    m_AID = [AID copy];
  }
  return self;
}

- (void)dealloc {
  [m_smartCard release];
  [m_AID release];
  [super dealloc];
}

- (TKSmartCard *)smartCard {
  return m_smartCard;
}

@end
