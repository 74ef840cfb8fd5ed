#import <CryptoTokenKit/TKToken.h>

@implementation TKTokenDriver

@synthesize delegate = m_delegate;

- (instancetype)init {
  self = [super init];
  if (self && [self conformsToProtocol:@protocol(TKTokenDriverDelegate)]) {
    m_delegate = (id<TKTokenDriverDelegate>)self;
  }
  return self;
}

@end
