#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKSmartCardPINFormat, StartsWithTheSystemsDefaults) {
  TKSmartCardPINFormat *format = [[[TKSmartCardPINFormat alloc] init] autorelease];
  EXPECT_EQ([format charset], TKSmartCardPINCharsetNumeric);
  EXPECT_EQ([format encoding], TKSmartCardPINEncodingASCII);
  EXPECT_EQ([format minPINLength], 4);
  EXPECT_EQ([format maxPINLength], 8);
  EXPECT_EQ([format PINBlockByteLength], 8);
  EXPECT_EQ([format PINJustification], TKSmartCardPINJustificationLeft);
  EXPECT_EQ([format PINBitOffset], 0);
  EXPECT_EQ([format PINLengthBitOffset], 0);
  EXPECT_EQ([format PINLengthBitSize], 0);
}

TEST(TKSmartCardPINFormat, RemembersWhatIsSet) {
  TKSmartCardPINFormat *format = [[[TKSmartCardPINFormat alloc] init] autorelease];
  [format setMaxPINLength:12];
  [format setCharset:TKSmartCardPINCharsetAlphanumeric];
  EXPECT_EQ([format maxPINLength], 12);
  EXPECT_EQ([format charset], TKSmartCardPINCharsetAlphanumeric);
}

}  // namespace
