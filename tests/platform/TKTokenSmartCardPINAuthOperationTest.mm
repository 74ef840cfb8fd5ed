#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TKTokenSmartCardPINAuthOperation *Operation() {
  return [[[TKTokenSmartCardPINAuthOperation alloc] init] autorelease];
}

TEST(TKTokenSmartCardPINAuthOperation, StartsWithADefaultFormatAndNothingElse) {
  TKTokenSmartCardPINAuthOperation *operation = Operation();
  EXPECT_EQ([[operation PINFormat] maxPINLength], 8);
  EXPECT_TRUE([operation APDUTemplate] == nil);
  EXPECT_EQ([operation PINByteOffset], 0);
  EXPECT_TRUE([operation smartCard] == nil);
  EXPECT_TRUE([operation PIN] == nil);
}

TEST(TKTokenSmartCardPINAuthOperation, CopiesThePinAndOwnsTheCard) {
  const LiveObjects cards([TKSmartCard class]);
  const LiveObjects operations([TKTokenSmartCardPINAuthOperation class]);
  TKTokenSmartCardPINAuthOperation *operation = Operation();
  NSMutableString *pin = [NSMutableString stringWithString:@"1234"];
  [operation setPIN:pin];
  [pin setString:@"9999"];
  TKSmartCard *card = [[TKSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:@"Reader"]];
  [operation setSmartCard:card];
  [card release];
  EXPECT_TRUE([[operation PIN] isEqual:@"1234"]);
  EXPECT_TRUE([operation smartCard] == card);
}

TEST(TKTokenSmartCardPINAuthOperation, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects operations([TKTokenSmartCardPINAuthOperation class]);
  [[TKTokenSmartCardPINAuthOperation alloc] release];
}

}  // namespace
