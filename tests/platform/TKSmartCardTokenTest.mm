#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

class TKSmartCardTokenTest : public ::testing::Test {
 protected:
  LiveObjects m_tokens{[TKSmartCardToken class]}, m_cards{[TKSmartCard class]},
      m_drivers{[TKSmartCardTokenDriver class]};

  TKSmartCardToken *Token(NSData *AID = nil) {
    TKSmartCard *card = [[[TKSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:@"Reader"]] autorelease];
    TKSmartCardTokenDriver *driver = [[[TKSmartCardTokenDriver alloc] init] autorelease];
    return [[[TKSmartCardToken alloc] initWithSmartCard:card AID:AID instanceID:@"QEL-1"
                                            tokenDriver:driver] autorelease];
  }
};

TEST_F(TKSmartCardTokenTest, HasDriverInstanceAndEmptyContents) {
  TKSmartCardToken *token = Token();
  EXPECT_TRUE([[token tokenDriver] isKindOfClass:[TKSmartCardTokenDriver class]]);
  EXPECT_STREQ([[token instanceID] UTF8String], "QEL-1");
  EXPECT_EQ([[[token keychainContents] items] count], 0u);
}

TEST_F(TKSmartCardTokenTest, MayHaveAnApplication) {
  NSData *application = [NSData dataWithBytes:"\xA0\x00" length:2];
  EXPECT_TRUE([[Token(application) AID] isEqual:application]);
  EXPECT_TRUE([Token() AID] == nil);
}

TEST_F(TKSmartCardTokenTest, MayBeReleasedBeforeItsInitializer) {
  [[TKSmartCardToken alloc] release];
}

}  // namespace
