#import <CryptoTokenKit/TKToken.h>

@implementation TKTokenPasswordAuthOperation

@synthesize password = m_password;

- (void)dealloc {
  [m_password release];
  [super dealloc];
}

@end
