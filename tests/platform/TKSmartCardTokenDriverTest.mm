#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {}  // namespace

@interface CardDriver : TKSmartCardTokenDriver <TKSmartCardTokenDriverDelegate>
@end

@implementation CardDriver

- (TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
          createTokenForSmartCard:(TKSmartCard *)smartCard
                              AID:(NSData *)AID
                            error:(NSError **)error {
  (void)error;
  return [[[TKSmartCardToken alloc] initWithSmartCard:smartCard AID:AID instanceID:@"QEL-1"
                                          tokenDriver:driver] autorelease];
}

@end

namespace {

TEST(TKSmartCardTokenDriver, IsItsOwnDelegateWhenItConforms) {
  CardDriver *driver = [[[CardDriver alloc] init] autorelease];
  EXPECT_TRUE([driver delegate] == driver);
}

TEST(TKSmartCardTokenDriver, HasNoDelegateOtherwise) {
  EXPECT_TRUE([[[[TKSmartCardTokenDriver alloc] init] autorelease] delegate] == nil);
}

}  // namespace
