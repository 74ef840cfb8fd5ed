#import <CryptoTokenKit/TKToken.h>

@implementation TKTokenSession

@synthesize token = m_token;
@synthesize delegate = m_delegate;

- (instancetype)initWithToken:(TKToken *)token {
  self = [super init];
  if (self) {
    m_token = [token retain];
    if ([self conformsToProtocol:@protocol(TKTokenSessionDelegate)]) {
      m_delegate = (id<TKTokenSessionDelegate>)self;
    }
  }
  return self;
}

- (void)dealloc {
  [m_token release];
  [super dealloc];
}

@end
