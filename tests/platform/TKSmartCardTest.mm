#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TKSmartCard *NewCard() {
  return [[TKSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:@"Reader"]];
}

TEST(TKSmartCard, StartsWithoutContextAndNotSensitive) {
  TKSmartCard *card = [NewCard() autorelease];
  EXPECT_STREQ([[[card slot] name] UTF8String], "Reader");
  EXPECT_FALSE([card sensitive]);
  EXPECT_TRUE([card context] == nil);
}

TEST(TKSmartCard, RemembersWhatALoginSets) {
  TKSmartCard *card = [NewCard() autorelease];
  [card setSensitive:YES];
  [card setContext:@"logged in"];
  EXPECT_TRUE([card sensitive]);
  EXPECT_TRUE([[card context] isEqual:@"logged in"]);
}

TEST(TKSmartCard, OwnsItsContextUntilReplaced) {
  const LiveObjects slots([TKSmartCardSlot class]);
  TKSmartCard *card = NewCard();
  @autoreleasepool {
    [card setContext:[TKSmartCardSlot slotWithName:@"context"]];
    [card setContext:[TKSmartCardSlot slotWithName:@"another"]];
  }
  EXPECT_STREQ([[card context] name].UTF8String, "another");
  [card release];
}

TEST(TKSmartCard, WhatTalksToTheCardIsNotModelled) {
  TKSmartCard *card = [NewCard() autorelease];
  EXPECT_EQ(NameRaisedBy([&] { [card valid]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [card allowedProtocols]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [card setAllowedProtocols:TKSmartCardProtocolT1]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [card currentProtocol]; }), kNotModelled);
  EXPECT_EQ(NameRaisedBy([&] { [card endSession]; }), kNotModelled);
}

TEST(TKSmartCard, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects cards([TKSmartCard class]);
  [[TKSmartCard alloc] release];
}

}  // namespace
