#import <CryptoTokenKit/TKTokenWatcher.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"
#import "platform/src/service/SmartCardService.h"

@implementation TKTokenWatcher

- (instancetype)init {
  self = [super init];
  if (self) {
    m_tokenIDs = [[[[QELSmartCardService sharedService] tokens] valueForKey:@"tokenID"] retain];
    [QELSmartCardService tellOfChanges:self];
  }
  return self;
}

- (void)dealloc {
  [[NSNotificationCenter defaultCenter] removeObserver:self];
  [m_tokenIDs release];
  [super dealloc];
}

- (NSArray *)tokenIDs {
  return m_tokenIDs ? m_tokenIDs : @[];
}

- (void)serviceDidChange {
  NSArray *tokenIDs = [[[QELSmartCardService sharedService] tokens] valueForKey:@"tokenID"];
  if ([tokenIDs isEqual:m_tokenIDs]) {
    return;
  }
  [self willChangeValueForKey:@"tokenIDs"];
  [m_tokenIDs autorelease];
  m_tokenIDs = [tokenIDs retain];
  [self didChangeValueForKey:@"tokenIDs"];
}

- (TKTokenWatcherTokenInfo *)tokenInfoForTokenID:(NSString *)tokenID {
  QELServiceToken *token = [[QELSmartCardService sharedService] tokenWithID:tokenID];
  return token == nil ? nil
                      : [[[TKTokenWatcherTokenInfo alloc] initWithTokenID:tokenID
                                                                 slotName:[token reader]
                                                               driverName:[token driver]] autorelease];
}

@end
