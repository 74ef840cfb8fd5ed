#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <gtest/gtest.h>

#import "platform/src/Security/SecCertificatePrivate.h"
#include "platform/testing/LiveObjects.h"
#include "tests/platform/CertificateMaker.h"
#include "tests/platform/Raised.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Names = CertificateMaker::Names;

SecCertificateRef Make(const Bytes &der) {
  NSData *data = [NSData dataWithBytes:der.data() length:der.size()];
  return SecCertificateCreateWithData(kCFAllocatorDefault, (CFDataRef)data);
}

class SecCertificateTest : public ::testing::Test {
 protected:
  LiveObjects m_certificates{[QELCertificate class]};
  const CertificateMaker m_maker = CertificateMaker::EC("P-256");

  /// The subject summary, "(null)" when there is none.
  std::string Summary(const Names &subject, const std::string &alternativeNames = "") {
    SecCertificateRef certificate = Make(m_maker.Certificate(subject, alternativeNames));
    NSString *summary = [(NSString *)SecCertificateCopySubjectSummary(certificate) autorelease];
    CFRelease(certificate);
    return summary ? [summary UTF8String] : "(null)";
  }
};

TEST_F(SecCertificateTest, DataComesBackAsItWentIn) {
  const Bytes der = m_maker.Certificate({{"CN", "Ada"}});
  SecCertificateRef certificate = Make(der);
  ASSERT_TRUE(certificate != NULL);
  NSData *data = [(NSData *)SecCertificateCopyData(certificate) autorelease];
  CFRelease(certificate);
  EXPECT_EQ(
      Bytes(static_cast<const uint8_t *>([data bytes]), static_cast<const uint8_t *>([data bytes]) + [data length]),
      der);
}

TEST_F(SecCertificateTest, TellsTheDatesOfItsValidity) {
  NSDate *before = [NSDate date];
  SecCertificateRef certificate = Make(m_maker.Certificate({{"CN", "Ada"}}));  // valid from now, for an hour
  NSArray *keys = @[ (NSString *)kSecOIDX509V1ValidityNotBefore, (NSString *)kSecOIDX509V1ValidityNotAfter ];
  NSDictionary *values = [(NSDictionary *)SecCertificateCopyValues(certificate, (CFArrayRef)keys, NULL) autorelease];
  CFRelease(certificate);
  const auto seconds = [&](NSString *key) {
    return [[[values objectForKey:key] objectForKey:(NSString *)kSecPropertyKeyValue] doubleValue];
  };
  EXPECT_NEAR(seconds([keys objectAtIndex:0]), [before timeIntervalSinceReferenceDate], 60);
  EXPECT_EQ(seconds([keys objectAtIndex:1]) - seconds([keys objectAtIndex:0]), 3600);
}

TEST_F(SecCertificateTest, ItsOtherValuesAreNotModelled) {
  SecCertificateRef certificate = Make(m_maker.Certificate({{"CN", "Ada"}}));
  NSArray *keys = @[ @"2.5.4.3" ];
  EXPECT_EQ(NameRaisedBy([&] { SecCertificateCopyValues(certificate, (CFArrayRef)keys, NULL); }), kNotModelled);
  CFRelease(certificate);
}

TEST_F(SecCertificateTest, WhatDoesNotParseIsRefused) {
  const Bytes der = m_maker.Certificate({{"CN", "Ada"}});
  Bytes trailing = der;
  trailing.push_back(0x00);
  const Bytes truncated(der.begin(), der.end() - 1);
  EXPECT_TRUE(Make({}) == NULL);
  EXPECT_TRUE(Make({0x30, 0x00}) == NULL);
  EXPECT_TRUE(Make(Bytes(100, 0xAA)) == NULL);
  EXPECT_TRUE(Make(trailing) == NULL);
  EXPECT_TRUE(Make(truncated) == NULL);
  EXPECT_TRUE(Make(m_maker.PublicKeyInfo()) == NULL);
}

TEST_F(SecCertificateTest, SummaryIsTheHighestRankingName) {
  EXPECT_EQ(Summary({{"O", "Org"}, {"OU", "Unit"}, {"CN", "Ada"}, {"C", "DE"}}), "Ada");
  EXPECT_EQ(Summary({{"C", "DE"}, {"OU", "Unit"}, {"O", "Org"}}), "Unit");
  EXPECT_EQ(Summary({{"C", "DE"}, {"O", "Org"}}), "Org");
  EXPECT_EQ(Summary({{"serialNumber", "42"}}), "42");
}

TEST_F(SecCertificateTest, SummaryJoinsNamesOfOneRankNewestFirst) {
  EXPECT_EQ(Summary({{"CN", "Ada"}, {"O", "Org"}, {"CN", "Lovelace"}}), "Lovelace, Ada");
  EXPECT_EQ(Summary({{"C", "DE"}, {"L", "Berlin"}}), "Berlin, DE");
}

TEST_F(SecCertificateTest, SummaryAddsTheDescriptionToACommonNameOnly) {
  EXPECT_EQ(Summary({{"description", "spare"}, {"CN", "Ada"}}), "Ada (spare)");
  EXPECT_EQ(Summary({{"description", "spare"}, {"O", "Org"}}), "Org");
  EXPECT_EQ(Summary({{"description", "spare"}}), "spare");
}

TEST_F(SecCertificateTest, SummaryWithoutSubjectIsTheFirstMailThenTheFirstHost) {
  EXPECT_EQ(Summary({}, "DNS:a.example,email:ada@example.com,email:b@example.com"), "ada@example.com");
  EXPECT_EQ(Summary({}, "DNS:a.example,DNS:b.example"), "a.example");
  EXPECT_EQ(Summary({}), "(null)");
}

TEST_F(SecCertificateTest, SummaryKeepsOtherAlphabets) {
  EXPECT_EQ(Summary({{"CN", "J\xC3\xBCrgen \xD0\x9F"}}), "J\xC3\xBCrgen \xD0\x9F");
}

TEST_F(SecCertificateTest, CopyKeyIsNotModelled) {
  SecCertificateRef certificate = Make(m_maker.Certificate({{"CN", "Ada"}}));
  EXPECT_EQ(NameRaisedBy([&] { SecCertificateCopyKey(certificate); }), kNotModelled);
  CFRelease(certificate);
}

TEST(CoreFoundation, ReleasingNullRaises) {
  CFTypeRef none = NULL;
  EXPECT_EQ(NameRaisedBy([&] { CFRelease(none); }), "NSInvalidArgumentException");
  EXPECT_EQ(NameRaisedBy([&] { CFRetain(none); }), "NSInvalidArgumentException");
}

TEST(CoreFoundation, RetainAndReleaseAreTheObjectsOwn) {
  NSObject *object = [[NSObject alloc] init];
  EXPECT_EQ(CFRetain(object), (CFTypeRef)object);
  EXPECT_EQ([object retainCount], 2u);
  CFRelease(object);
  EXPECT_EQ([object retainCount], 1u);
  [object release];
}

}  // namespace
