#import "token/PerformLogin.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <type_traits>

#include "tests/support/ProcessMemory.h"
#include "tests/token/FreedBytes.h"
#include "tests/token/PassingException.h"

/// Text that no encoding holds, as half of a surrogate pair is.
@interface UnencodableText : NSString
@end

@implementation UnencodableText
- (NSUInteger)length {
  return 1;
}
- (unichar)characterAtIndex:(NSUInteger)index {
  (void)index;
  return 0xD800;
}
- (BOOL)getCString:(char *)buffer maxLength:(NSUInteger)length encoding:(NSStringEncoding)encoding {
  (void)encoding;
  std::memset(buffer, '?', length);
  return NO;
}
@end

namespace {

/// The bytes that a card would get; nothing when it would get none.
std::optional<std::string> Sent(NSString *PIN) {
  PinBytes pin(PIN);
  if (pin.Data() == nullptr) return std::nullopt;
  return std::string(reinterpret_cast<const char *>(pin.Data()), pin.Length());
}

/// A PIN that Foundation does not keep in UTF-8: what is found in that form came from the conversion.
std::string Canary() {
  return std::string("\xC3\xA9") + "-canary-\xE2\x82\xAC-" + std::to_string(getpid());
}

}  // namespace

TEST(PinBytes, AreExactlyTheUtf8Bytes) {
  EXPECT_EQ(Sent(@"1234"), "1234");
  EXPECT_EQ(Sent(@" 1 2\n"), " 1 2\n");
  EXPECT_EQ(Sent([NSString stringWithUTF8String:"p\xC3\xA4ss-\xE2\x82\xAC-\xF0\x9F\x94\x91"]),
            "p\xC3\xA4ss-\xE2\x82\xAC-\xF0\x9F\x94\x91");
}

TEST(PinBytes, AreNotNormalised) {
  EXPECT_EQ(Sent([NSString stringWithUTF8String:"e\xCC\x81"]), "e\xCC\x81");
  EXPECT_EQ(Sent([NSString stringWithUTF8String:"\xC3\xA9"]), "\xC3\xA9");
}

TEST(PinBytes, HaveNoLimit) {
  const std::string longPin(100000, '7');
  EXPECT_EQ(Sent([NSString stringWithUTF8String:longPin.c_str()]), longPin);
}

TEST(PinBytes, AnEmptyPinHasAPointerAndNoLength) {
  EXPECT_EQ(Sent(@""), "");
}

TEST(PinBytes, NoPinHasNeitherPointerNorLength) {
  PinBytes pin(nil);
  EXPECT_EQ(pin.Data(), nullptr);
  EXPECT_EQ(pin.Length(), 0u);
}

TEST(PinBytes, EndAtAZeroByte) {
  const unichar text[] = {'1', 0, '2'};
  EXPECT_EQ(Sent([NSString stringWithCharacters:text length:3]), "1");
}

TEST(PinBytes, TextThatUtf8CannotHoldIsAnEmptyPin) {
  EXPECT_EQ(Sent([[[UnencodableText alloc] init] autorelease]), "");
}

TEST(PinBytes, HalfASurrogatePairIsAnEmptyPin) {
  NSString *cut = [[NSString stringWithUTF8String:"1\xF0\x9F\x98\x80"] substringToIndex:2];
  ASSERT_EQ([cut length], 2u);
  EXPECT_EQ(Sent(cut), "");
}

/// A PIN of as many bytes as characters, or of three or four for each.
class PinOfManyByteCharacters : public ::testing::TestWithParam<const char *> {
 protected:
  NSString *m_PIN = [NSString stringWithUTF8String:GetParam()];
  FreedBytes m_freed;

  void Watch(PinBytes &pin) {
    ASSERT_EQ(pin.Length(), std::strlen(GetParam()));
    m_freed.Watch(pin.Data(), pin.Length());
  }
  void ExpectErased() const { EXPECT_EQ(m_freed.Content(), std::string(std::strlen(GetParam()), '\0')); }
};

TEST_P(PinOfManyByteCharacters, IsErasedToItsLastByteBeforeItIsFreed) {
  {
    PinBytes pin(m_PIN);
    Watch(pin);
  }
  ExpectErased();
}

TEST_P(PinOfManyByteCharacters, IsErasedToItsLastByteWhenAnExceptionPasses) {
  EXPECT_EQ(PassingException([&] {
              PinBytes pin(m_PIN);
              Watch(pin);
              throw std::runtime_error("from the card");
            }),
            "from the card");
  ExpectErased();
}

INSTANTIATE_TEST_SUITE_P(Pins, PinOfManyByteCharacters,
                         ::testing::Values("1", "1234", "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac7",
                                           "\U0001F511\U0001F511\U0001F511\U0001F511"));

TEST(PinBytes, WhatStandsBehindAZeroByteIsErasedToo) {
  const unichar text[] = {'1', 0, '2', '3', 0, '4'};
  NSString *PIN = [NSString stringWithCharacters:text length:std::size(text)];
  FreedBytes freed;
  {
    PinBytes pin(PIN);
    freed.Watch(pin.Data(), std::size(text));
  }
  EXPECT_EQ(freed.Content(), std::string(std::size(text), '\0'));
}

TEST(PinBytes, WhatWasWrittenOfTextThatUtf8CannotHoldIsErasedAtOnce) {
  PinBytes pin([[[UnencodableText alloc] init] autorelease]);
  ASSERT_NE(pin.Data(), nullptr);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(pin.Data()[i], 0) << "question mark " << i;
}

TEST(PinBytes, AreNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<PinBytes>);
  EXPECT_FALSE(std::is_copy_assignable_v<PinBytes>);
}

TEST(PinBytes, LeaveNothingInMemory) {
  std::string canary = Canary();
  // Behind bytes that the allocator uses itself once the buffer is freed.
  NSString *PIN = [NSString stringWithUTF8String:(std::string(64, '.') + canary).c_str()];
  const HiddenText hidden(canary);
  int whileUsed = 0;
  {
    PinBytes pin(PIN);
    whileUsed = CopiesInMemory(getpid(), hidden);
  }
  // What the test itself left behind does not count: it was there before.
  EXPECT_EQ(CopiesInMemory(getpid(), hidden), whileUsed - 1);
}
