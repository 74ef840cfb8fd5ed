#import "bundle/app/ShownText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Shown(const std::string &text) {
  return [QELShownText([NSString stringWithUTF8String:text.c_str()]) UTF8String];
}

TEST(ShownText, KeepsWhatPeopleWrite) {
  for (const char *text : {"Ada Lovelace", "Zoë Ångström", "山田 太郎", "a+b@example.com"}) {
    EXPECT_EQ(Shown(text), text);
  }
}

TEST(ShownText, ReplacesWhatControlsATerminalOrReversesAText) {
  EXPECT_EQ(Shown("\x1b[31mred"), "\uFFFD[31mred");
  EXPECT_EQ(Shown("two\nlines\ttab\x7f"), "two\uFFFDlines\uFFFDtab\uFFFD");
  EXPECT_EQ(Shown("\u202Egro.elpmaxe\u202C"), "\uFFFDgro.elpmaxe\uFFFD");
  EXPECT_EQ(Shown("zero\u200Bwidth \u2028 \uFEFF \u0085"), "zero\uFFFDwidth \uFFFD \uFFFD \uFFFD");
}

TEST(ShownText, EndsALongTextWithAnEllipsis) {
  EXPECT_EQ(Shown(std::string(200, 'a')), std::string(200, 'a'));
  EXPECT_EQ(Shown(std::string(201, 'a')), std::string(200, 'a') + "\u2026");
}

TEST(ShownText, IsEmptyForWhatIsNoText) {
  EXPECT_EQ([QELShownText(nil) length], 0u);
  EXPECT_EQ([QELShownText([NSNumber numberWithInt:7]) length], 0u);
}

}  // namespace
