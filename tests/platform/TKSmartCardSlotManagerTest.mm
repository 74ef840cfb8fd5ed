#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKSmartCardSlotManager, ThereIsNone) {
  EXPECT_TRUE([TKSmartCardSlotManager defaultManager] == nil);
}

}  // namespace
