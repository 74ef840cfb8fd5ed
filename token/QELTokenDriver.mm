#import "token/QELTokenDriver.h"

#import "token/QELToken.h"

@implementation QELTokenDriver

- (nullable TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
                   createTokenForSmartCard:(TKSmartCard *)smartCard
                                       AID:(nullable NSData *)AID
                                     error:(NSError **)error {
  (void)driver;
  return [[[QELToken alloc] initWithSmartCard:smartCard AID:AID tokenDriver:self error:error] autorelease];
}

@end
