#import "bundle/app/StatusRows.h"

#import <Security/Security.h>
#include <gmock/gmock.h>

#include "tests/app/AppCertificate.h"

namespace {

constexpr long kDay = 24 * 60 * 60;

/// Of a certificate that ends `days` from now, at this time of day.
std::string Ends(long days) {
  NSDate *now = [NSDate date];
  return [QELValidityText(AppCertificate(-1000 * kDay, days * kDay), now) UTF8String];
}

TEST(ValidityText, CountsTheDaysThatAreLeft) {
  EXPECT_EQ(Ends(12), "Expires in 12 days");
  EXPECT_EQ(Ends(2), "Expires in 2 days");
  EXPECT_EQ(Ends(1), "Expires tomorrow");
  EXPECT_EQ(Ends(60), "Expires in 60 days");
  EXPECT_EQ(Ends(-1), "Expired yesterday");
  EXPECT_EQ(Ends(-2), "Expired 2 days ago");
  EXPECT_EQ(Ends(-60), "Expired 60 days ago");
}

TEST(ValidityText, TellsADateThatIsFarAway) {
  EXPECT_THAT(Ends(400), testing::ContainsRegex("^Valid until .*20[0-9][0-9]"));
  EXPECT_THAT(Ends(-400), testing::ContainsRegex("^Expired on .*20[0-9][0-9]"));
  NSString *later = QELValidityText(AppCertificate(5 * kDay, 10 * kDay), [NSDate date]);
  EXPECT_THAT([later UTF8String], testing::ContainsRegex("^Valid from .*20[0-9][0-9]"));
}

TEST(ValidityText, SaysSoWhenTheDatesCannotBeRead) {
  QELPublishedCertificate *broken = [[[QELPublishedCertificate alloc] initWithAttributes:@{} key:nil] autorelease];
  EXPECT_STREQ([QELValidityText(broken, [NSDate date]) UTF8String], "Its dates cannot be read");
}

TEST(KeyText, NamesTheKeyAndWhatItDoes) {
  NSNumber *yes = [NSNumber numberWithBool:YES];
  NSDictionary *rsa = @{
    (NSString *)kSecAttrKeyType : (NSString *)kSecAttrKeyTypeRSA,
    (NSString *)kSecAttrKeySizeInBits : [NSNumber numberWithInt:2048],
    (NSString *)kSecAttrCanSign : yes,
    (NSString *)kSecAttrCanDecrypt : yes,
    (NSString *)kSecAttrCanDerive : yes,
  };
  NSDictionary *ec = @{
    (NSString *)kSecAttrKeyType : (NSString *)kSecAttrKeyTypeECSECPrimeRandom,
    (NSString *)kSecAttrKeySizeInBits : [NSNumber numberWithInt:384],
    (NSString *)kSecAttrCanDecrypt : yes,
    (NSString *)kSecAttrCanDerive : yes,
  };
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay, ec)) UTF8String], "EC, 384 bits; agrees on keys");
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay, rsa)) UTF8String], "RSA, 2048 bits; signs, decrypts");
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay)) UTF8String], "EC, 256 bits; signs");
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay, @{(NSString *)kSecAttrCanDerive : yes})) UTF8String],
               "agrees on keys");
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay, @{})) UTF8String], "does nothing by itself");
  EXPECT_STREQ([QELKeyText(AppCertificate(0, kDay, nil)) UTF8String], "no key");
}

}  // namespace
