#import "pkcs11/Format.h"

#include <gtest/gtest.h>

#include "tests/support/CapturedLog.h"

TEST(FormatTest, UnderstandsFoundationsDirectives) {
  EXPECT_EQ(Utils::format(@"%@ %s %d 0x%08lX", @"object", "text", -3, 0xABCUL), "object text -3 0x00000ABC");
}

TEST(FormatTest, GivesUtf8) {
  EXPECT_EQ(Utils::format(@"%@", @"\u20AC"), "\xE2\x82\xAC");
}

TEST(FormatTest, TextThatUtf8CannotHoldIsNoText) {
  const unichar halfOfAPair = 0xD800;
  EXPECT_EQ(Utils::format(@"a%Cb", halfOfAPair), "");
}

TEST(FormatTest, ANilObjectIsPrinted) {
  EXPECT_EQ(Utils::format(@"slotName %@", (id)nil), "slotName (null)");
}

TEST(FormatTest, LogsTheTextAtTheLevelOfTheStream) {
  CapturedLog log;
  Utils::log(QELLog::Info(), @"slotName %@", @"Reader");
  EXPECT_EQ(log.Lines(), (LogLines{{kInfo, "slotName Reader"}}));
}

TEST(FormatTest, FormatsNothingForAMessageThatIsNotWritten) {
  CapturedLog log(QELLog::LogLevel::Error);
  Utils::log(QELLog::Info(), @"slotName %@", @"Reader");
  EXPECT_TRUE(log.Lines().empty());
}
