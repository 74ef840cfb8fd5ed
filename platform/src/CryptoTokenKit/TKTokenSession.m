#import <CryptoTokenKit/TKToken.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKTokenSession

@synthesize token = m_token;
@synthesize delegate = m_delegate;

- (instancetype)initWithToken:(TKToken *)token {
  self = [super init];
  if (self) {
    m_token = [token retain];
    if (QELIsItsOwnDelegate(self, @"TKTokenSessionDelegate")) {
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
