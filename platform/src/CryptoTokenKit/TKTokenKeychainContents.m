#import <CryptoTokenKit/TKError.h>
#import <CryptoTokenKit/TKTokenKeychainItem.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKTokenKeychainContents

@synthesize items = m_items;

- (instancetype)initEmpty {
  self = [super init];
  if (self) {
    m_items = [[NSArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [m_items release];
  [super dealloc];
}

- (void)fillWithItems:(NSArray<TKTokenKeychainItem *> *)items {
  NSArray *previous = m_items;
  m_items = [items copy];
  [previous release];
}

- (id)itemOfClass:(Class)itemClass objectID:(TKTokenObjectID)objectID error:(NSError **)error {
  for (TKTokenKeychainItem *item in m_items) {
    if ([item isKindOfClass:itemClass] && [[item objectID] isEqual:objectID]) {
      return [[item retain] autorelease];
    }
  }
  if (error) {
    *error = [NSError errorWithDomain:TKErrorDomain code:TKErrorCodeObjectNotFound userInfo:nil];
  }
  return nil;
}

- (TKTokenKeychainKey *)keyForObjectID:(TKTokenObjectID)objectID error:(NSError **)error {
  return [self itemOfClass:[TKTokenKeychainKey class] objectID:objectID error:error];
}

- (TKTokenKeychainCertificate *)certificateForObjectID:(TKTokenObjectID)objectID error:(NSError **)error {
  return [self itemOfClass:[TKTokenKeychainCertificate class] objectID:objectID error:error];
}

@end
