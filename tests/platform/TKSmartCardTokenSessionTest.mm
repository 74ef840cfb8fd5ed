#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#import "tests/platform/MadeDriver.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKSmartCardTokenSession, CardIsTheTokensAndKeepsWhatIsSet) {
  TKSmartCard *card = [[[TKSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:@"Reader"]] autorelease];
  TKSmartCardToken *token = [[[TKSmartCardToken alloc] initWithSmartCard:card
                                                                     AID:nil
                                                              instanceID:@"QEL-1"
                                                             tokenDriver:MadeDriver()] autorelease];
  TKSmartCardTokenSession *session = [[[TKSmartCardTokenSession alloc] initWithToken:token] autorelease];
  EXPECT_TRUE([session smartCard] == card);
  [[session smartCard] setSensitive:YES];
  EXPECT_TRUE([card sensitive]);
}

TEST(TKSmartCardTokenSession, ATokenOfAnotherKindHasNoCard) {
  TKToken *token = [[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  TKSmartCardTokenSession *session = [[[TKSmartCardTokenSession alloc] initWithToken:token] autorelease];
  EXPECT_EQ(NameRaisedBy([&] { [session smartCard]; }), "NSInternalInconsistencyException");
}

}  // namespace
