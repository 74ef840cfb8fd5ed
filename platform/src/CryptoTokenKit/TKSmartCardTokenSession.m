#import <CryptoTokenKit/TKSmartCardToken.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"

static BOOL s_cardIsOutOfReach = NO;

@implementation TKSmartCardTokenSession

+ (void)setCardIsOutOfReach:(BOOL)outOfReach {
  s_cardIsOutOfReach = outOfReach;
}

- (TKSmartCard *)smartCard {
  if (s_cardIsOutOfReach) {
    [NSException raise:NSInternalInconsistencyException
                format:@"the card may be used in the methods of the session's delegate only"];
  }
  TKToken *token = [self token];
  if (![token isKindOfClass:[TKSmartCardToken class]]) {
    [NSException raise:NSInternalInconsistencyException format:@"the session's token is no smart card: %@", token];
  }
  return [(TKSmartCardToken *)token smartCard];
}

@end
