#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKSmartCardSlot, HasItsName) {
  const LiveObjects slots([TKSmartCardSlot class]);
  EXPECT_STREQ([[[TKSmartCardSlot slotWithName:@"Reader 00 00"] name] UTF8String], "Reader 00 00");
}

TEST(TKSmartCardSlot, OfNoReaderManagerIsMissing) {
  EXPECT_EQ([[TKSmartCardSlot slotWithName:@"Reader"] state], TKSmartCardSlotStateMissing);
}

TEST(TKSmartCardSlot, WhatTalksToTheCardIsNotModelled) {
  TKSmartCardSlot *slot = [TKSmartCardSlot slotWithName:@"Reader"];
  EXPECT_EQ(NameRaisedBy([&] { [slot ATR]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [slot maxInputLength]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [slot maxOutputLength]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [slot makeSmartCard]; }), kNotModelled);
}

}  // namespace
