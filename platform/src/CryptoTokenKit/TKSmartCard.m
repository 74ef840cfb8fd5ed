#import <CryptoTokenKit/TKSmartCard.h>

#import "platform/src/NotModelled.h"
#import "platform/testing/TKTesting.h"

@implementation TKSmartCard

@synthesize slot = m_slot;
@synthesize sensitive = m_sensitive;
@synthesize context = m_context;

- (instancetype)initWithSlot:(TKSmartCardSlot *)slot {
  self = [super init];
  if (self) {
    m_slot = [slot retain];
  }
  return self;
}

- (void)dealloc {
  [m_slot release];
  [m_context release];
  [super dealloc];
}

- (BOOL)valid {
  QEL_NOT_MODELLED_METHOD();
  return NO;
}

- (TKSmartCardProtocol)allowedProtocols {
  QEL_NOT_MODELLED_METHOD();
  return TKSmartCardProtocolNone;
}

- (void)setAllowedProtocols:(TKSmartCardProtocol)protocols {
  (void)protocols;
  QEL_NOT_MODELLED_METHOD();
}

- (TKSmartCardProtocol)currentProtocol {
  QEL_NOT_MODELLED_METHOD();
  return TKSmartCardProtocolNone;
}

- (void)endSession {
  QEL_NOT_MODELLED_METHOD();
}

@end
