#import "bundle/app/LogHints.h"

#include <gtest/gtest.h>

namespace {

TEST(LogHints, TellOnceWhyACardWasLeftOut) {
  NSArray *hints = QELLogHints(@[
    @"CTK slot name: R", @"Requested name was R", @"Requested name was R",
    @"Error while getting TokenInfo, probably unsupported smart card type."
  ]);
  ASSERT_EQ([hints count], 2u);
  EXPECT_TRUE([[hints objectAtIndex:0] hasPrefix:@"A card was left out: the PKCS#11 library knows no reader"]);
  EXPECT_TRUE([[hints objectAtIndex:1] hasPrefix:@"A card was left out: the PKCS#11 library does not know"]);
}

TEST(LogHints, AreNoneInALogThatTellsOfNothingLeftOut) {
  EXPECT_EQ([QELLogHints(@[ @"Loading content from QEL-1 [slot 0]" ]) count], 0u);
}

}  // namespace
