#import <CryptoTokenKit/TKTokenKeychainItem.h>

@implementation TKTokenKeychainItem

@synthesize objectID = m_objectID;
@synthesize label = m_label;
@synthesize constraints = m_constraints;

- (instancetype)initWithObjectID:(TKTokenObjectID)objectID {
  self = [super init];
  if (self) {
    m_objectID = [objectID copy];
  }
  return self;
}

- (void)dealloc {
  [m_objectID release];
  [m_label release];
  [m_constraints release];
  [super dealloc];
}

@end
