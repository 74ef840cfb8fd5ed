#import "token/QELTokenDriver.h"

#import "token/QELToken.h"

@implementation QELTokenDriver

- (instancetype)init {
  self = [super init];
  if (self != nil && [self delegate] == nil) [self setDelegate:self];
  return self;
}

- (nullable TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
                   createTokenForSmartCard:(TKSmartCard *)smartCard
                                       AID:(nullable NSData *)AID
                                     error:(NSError **)error {
  (void)driver;
  return [[[QELToken alloc] initWithSmartCard:smartCard AID:AID tokenDriver:self error:error] autorelease];
}

@end
