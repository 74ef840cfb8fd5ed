#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKSmartCardATR, KeepsACopyOfItsBytes) {
  NSMutableData *bytes = [NSMutableData dataWithBytes:"\x3B\x00" length:2];
  TKSmartCardATR *answer = [[[TKSmartCardATR alloc] initWithBytes:bytes] autorelease];
  [bytes setLength:0];
  EXPECT_EQ([[answer bytes] length], 2u);
}

TEST(TKSmartCardATR, ProtocolsAreNotModelled) {
  TKSmartCardATR *answer = [[[TKSmartCardATR alloc] initWithBytes:[NSData data]] autorelease];
  EXPECT_EQ(NameRaisedBy([&] { [answer protocols]; }), kNotModelled);
}

}  // namespace
