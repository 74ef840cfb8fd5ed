#import <CryptoTokenKit/TKToken.h>

#import "platform/testing/TKTesting.h"

@implementation TKTokenKeyExchangeParameters

@synthesize requestedSize = m_requestedSize;
@synthesize sharedInfo = m_sharedInfo;

- (instancetype)initWithRequestedSize:(NSInteger)requestedSize sharedInfo:(NSData *)sharedInfo {
  self = [super init];
  if (self) {
    m_requestedSize = requestedSize;
    m_sharedInfo = [sharedInfo copy];
  }
  return self;
}

- (void)dealloc {
  [m_sharedInfo release];
  [super dealloc];
}

@end
