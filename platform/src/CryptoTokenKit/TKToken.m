#import <CryptoTokenKit/TKToken.h>

#import <CryptoTokenKit/TKTokenKeychainItem.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"
#import "platform/src/NotModelled.h"

static BOOL s_delegatesAreInstalled = YES;

BOOL QELIsItsOwnDelegate(id object, NSString *protocol) {
  return s_delegatesAreInstalled && [object conformsToProtocol:NSProtocolFromString(protocol)];
}

@implementation TKToken

@synthesize tokenDriver = m_tokenDriver;
@synthesize delegate = m_delegate;
@synthesize keychainContents = m_keychainContents;

- (instancetype)initWithTokenDriver:(TKTokenDriver *)tokenDriver instanceID:(TKTokenInstanceID)instanceID {
  self = [super init];
  if (self) {
    m_tokenDriver = [tokenDriver retain];
    m_instanceID = [instanceID copy];
    m_keychainContents = [[TKTokenKeychainContents alloc] initEmpty];
    if (QELIsItsOwnDelegate(self, @"TKTokenDelegate")) {
      m_delegate = (id<TKTokenDelegate>)self;
    }
  }
  return self;
}

- (void)dealloc {
  [m_tokenDriver release];
  [m_instanceID release];
  [m_keychainContents release];
  [super dealloc];
}

- (TKTokenConfiguration *)configuration {
  QEL_NOT_MODELLED_METHOD();
  return nil;
}

+ (void)setDelegatesAreInstalled:(BOOL)installed {
  s_delegatesAreInstalled = installed;
}

- (NSString *)instanceID {
  return m_instanceID;
}

@end
