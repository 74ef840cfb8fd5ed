#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKTokenKeyExchangeParameters, KeepsSizeAndACopyOfTheInformation) {
  const LiveObjects parameterObjects([TKTokenKeyExchangeParameters class]);
  NSMutableData *information = [NSMutableData dataWithBytes:"ab" length:2];
  TKTokenKeyExchangeParameters *parameters =
      [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:32 sharedInfo:information] autorelease];
  [information setLength:0];
  EXPECT_EQ([parameters requestedSize], 32);
  EXPECT_EQ([[parameters sharedInfo] length], 2u);
}

TEST(TKTokenKeyExchangeParameters, MayLackInformation) {
  TKTokenKeyExchangeParameters *parameters =
      [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:0 sharedInfo:nil] autorelease];
  EXPECT_TRUE([parameters sharedInfo] == nil);
}

}  // namespace
