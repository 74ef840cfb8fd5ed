#import "pkcs11/Format.h"

#include <gtest/gtest.h>

#include "tests/support/CapturedLog.h"

/// Counts how often it is formatted.
@interface FormattedObject : NSObject {
  int m_times;
}
@property(nonatomic) int times;
@end

@implementation FormattedObject
@synthesize times = m_times;
- (NSString *)description {
  ++m_times;
  return @"object";
}
@end

TEST(FormatTest, UnderstandsFoundationsDirectives) {
  EXPECT_EQ(Utils::format(@"%@ %s %d 0x%08lX", @"object", "text", -3, 0xABCUL), "object text -3 0x00000ABC");
}

TEST(FormatTest, GivesUtf8) {
  EXPECT_EQ(Utils::format(@"%@", @"\u20AC"), "\xE2\x82\xAC");
}

TEST(FormatTest, TextOfAnyLengthIsGivenWhole) {
  EXPECT_EQ(Utils::format(@"%@", @""), "");
  for (const size_t length : {1, 255, 256, 1024, 5000}) {
    const std::string text(length, 'x');
    EXPECT_EQ(Utils::format(@"%s%@", text.c_str(), @"7"), text + "7");
  }
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
  FormattedObject *object = [[[FormattedObject alloc] init] autorelease];
  Utils::log(QELLog::Info(), @"object %@", object);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_EQ([object times], 0);
  Utils::log(QELLog::Error(), @"object %@", object);
  EXPECT_EQ([object times], 1);
}
