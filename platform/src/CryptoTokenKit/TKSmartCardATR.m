#import <CryptoTokenKit/TKSmartCardATR.h>

#import "platform/src/NotModelled.h"

@implementation TKSmartCardATR

@synthesize bytes = m_bytes;

- (instancetype)initWithBytes:(NSData *)bytes {
  self = [super init];
  if (self) {
    m_bytes = [bytes copy];
  }
  return self;
}

- (void)dealloc {
  [m_bytes release];
  [super dealloc];
}

- (TKSmartCardProtocol)protocols {
  QEL_NOT_MODELLED_METHOD();
  return TKSmartCardProtocolNone;
}

@end
