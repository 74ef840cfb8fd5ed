#import <CryptoTokenKit/TKToken.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKTokenDriver

@synthesize delegate = m_delegate;

- (instancetype)init {
  self = [super init];
  if (self && QELIsItsOwnDelegate(self, @"TKTokenDriverDelegate")) {
    m_delegate = (id<TKTokenDriverDelegate>)self;
  }
  return self;
}

@end
