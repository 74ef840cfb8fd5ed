#import <CryptoTokenKit/TKSmartCardToken.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

@implementation TKSmartCardTokenSession

- (TKSmartCard *)smartCard {
  TKToken *token = [self token];
  if (![token isKindOfClass:[TKSmartCardToken class]]) {
    [NSException raise:NSInternalInconsistencyException format:@"the session's token is no smart card: %@", token];
  }
  return [(TKSmartCardToken *)token smartCard];
}

@end
