#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKTokenAuthOperation, NeedsNothingAndFinishes) {
  TKTokenAuthOperation *operation = [[[TKTokenAuthOperation alloc] init] autorelease];
  NSError *error = nil;
  EXPECT_TRUE([operation finishWithError:&error]);
  EXPECT_TRUE(error == nil);
}

TEST(TKTokenAuthOperation, ConformsToSecureCodingAndRefusesToBeCoded) {
  TKTokenAuthOperation *operation = [[[TKTokenAuthOperation alloc] init] autorelease];
  EXPECT_TRUE([TKTokenAuthOperation conformsToProtocol:NSProtocolFromString(@"NSSecureCoding")]);
  EXPECT_TRUE([TKTokenAuthOperation supportsSecureCoding]);
  NSCoder *coder = nil;
  EXPECT_EQ(NameRaisedBy([&] { [operation encodeWithCoder:coder]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [operation initWithCoder:coder]; }), kNotModelled);
}

}  // namespace
