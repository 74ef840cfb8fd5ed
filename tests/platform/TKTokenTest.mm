#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#import "tests/platform/MadeDriver.h"
#include "tests/platform/Raised.h"

namespace {}  // namespace

@interface DelegatingToken : TKToken <TKTokenDelegate>
@end

@implementation DelegatingToken

- (TKTokenSession *)token:(TKToken *)token createSessionWithError:(NSError **)error {
  (void)error;
  return [[[TKTokenSession alloc] initWithToken:token] autorelease];
}

@end

namespace {

TEST(TKToken, IsItsOwnDelegateWhenItConforms) {
  DelegatingToken *token = [[[DelegatingToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  EXPECT_TRUE([token delegate] == token);
}

TEST(TKToken, HasNoDelegateOtherwise) {
  EXPECT_TRUE([[[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease] delegate] == nil);
}

TEST(TKToken, StartsWithEmptyContents) {
  TKToken *token = [[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  EXPECT_EQ([[[token keychainContents] items] count], 0u);
  EXPECT_STREQ([[token instanceID] UTF8String], "QEL-1");
}

TEST(TKToken, OwnsItsDriver) {
  const LiveObjects drivers([TKTokenDriver class]);
  TKTokenDriver *driver = [[TKTokenDriver alloc] init];
  TKToken *token = [[TKToken alloc] initWithTokenDriver:driver instanceID:@"QEL-1"];
  [driver release];
  EXPECT_TRUE([token tokenDriver] == driver);
  [token release];
}

TEST(TKToken, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects tokens([TKToken class]);
  [[TKToken alloc] release];
}

TEST(TKToken, DoesNotOwnItsSessions) {
  const LiveObjects tokens([DelegatingToken class]);
  const LiveObjects sessions([TKTokenSession class]);
  DelegatingToken *token = [[[DelegatingToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  [[token delegate] token:token createSessionWithError:NULL];
}

TEST(TKToken, ConfigurationIsNotModelled) {
  TKToken *token = [[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  EXPECT_EQ(NameRaisedBy([&] { [token configuration]; }), kNotModelled);
}

}  // namespace
