#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {}  // namespace

@interface DelegatingDriver : TKTokenDriver <TKTokenDriverDelegate>
@end

@implementation DelegatingDriver
@end

namespace {

TEST(TKTokenDriver, IsItsOwnDelegateWhenItConforms) {
  DelegatingDriver *driver = [[[DelegatingDriver alloc] init] autorelease];
  EXPECT_TRUE([driver delegate] == driver);
}

TEST(TKTokenDriver, HasNoDelegateOtherwise) {
  EXPECT_TRUE([[[[TKTokenDriver alloc] init] autorelease] delegate] == nil);
}

TEST(TKTokenDriver, DoesNotRetainItsDelegate) {
  DelegatingDriver *driver = [[DelegatingDriver alloc] init];
  EXPECT_EQ([driver retainCount], 1u);
  [driver release];
}

}  // namespace
