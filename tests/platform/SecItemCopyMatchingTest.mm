#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <gtest/gtest.h>

#include "tests/platform/CertificateMaker.h"
#include "tests/platform/PlayedService.h"

namespace {

NSDictionary *Query(CFStringRef kind, NSString *token) {
  return @{
    (NSString *)kSecClass : (NSString *)kind,
    (NSString *)kSecAttrAccessGroup : (NSString *)kSecAttrAccessGroupToken,
    (NSString *)kSecAttrTokenID : token,
    (NSString *)kSecMatchLimit : (NSString *)kSecMatchLimitAll,
    (NSString *)kSecReturnAttributes : [NSNumber numberWithBool:YES],
  };
}

NSArray *Matching(CFStringRef kind) {
  CFTypeRef found = nullptr;
  EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)Query(kind, @"com.example.played:QEL-1"), &found), errSecSuccess);
  return [(NSArray *)found autorelease];
}

/// As a text of JSON.
std::string Pem(const std::vector<uint8_t> &der) {
  NSData *data = [NSData dataWithBytes:der.data() length:der.size()];
  NSString *base64 = [data base64EncodedStringWithOptions:0];
  NSUInteger half = [base64 length] / 2;
  return std::string("-----BEGIN CERTIFICATE-----\\n") + [[base64 substringToIndex:half] UTF8String] + "\\n" +
         [[base64 substringFromIndex:half] UTF8String] + "\\n-----END CERTIFICATE-----\\n";
}

class SecItemCopyMatchingTest : public ::testing::Test {
 protected:
  const CertificateMaker m_maker = CertificateMaker::EC("P-256");
  const std::vector<uint8_t> m_der = m_maker.Certificate({{"CN", "Ada"}});
  const std::string m_items = "[{\"kind\":\"certificate\",\"label\":\"Ada\",\"certificate\":\"" + Pem(m_der) +
                              "\"},{\"kind\":\"key\",\"label\":null,\"keyType\":\"EC P-256\",\"keySizeInBits\":256,"
                              "\"publicKeyHash\":\"00ffAb\",\"capabilities\":[\"sign\",\"agree\"]}]";
  const PlayedService m_service{
      "[{\"name\":\"R\"}]",
      "{\"event\":\"token\",\"token\":{\"instanceID\":\"QEL-1\",\"reader\":\"R\",\"items\":" + m_items + "}}\n"};
};

TEST_F(SecItemCopyMatchingTest, GivesACertificateWithItsBytesItsLabelAndTheHashOfItsKey) {
  NSArray *found = Matching(kSecClassCertificate);
  ASSERT_EQ([found count], 1u);
  NSDictionary *certificate = [found objectAtIndex:0];
  EXPECT_TRUE([[certificate objectForKey:(NSString *)kSecValueData] isEqual:[NSData dataWithBytes:m_der.data()
                                                                                           length:m_der.size()]]);
  EXPECT_STREQ([[certificate objectForKey:(NSString *)kSecAttrLabel] UTF8String], "Ada");
  EXPECT_EQ([[certificate objectForKey:(NSString *)kSecAttrPublicKeyHash] length], 20u);
}

TEST_F(SecItemCopyMatchingTest, GivesAKeyWithWhatItCanDo) {
  NSArray *found = Matching(kSecClassKey);
  ASSERT_EQ([found count], 1u);
  NSDictionary *key = [found objectAtIndex:0];
  const unsigned char hash[] = {0x00, 0xFF, 0xAB};
  EXPECT_TRUE([[key objectForKey:(NSString *)kSecAttrApplicationLabel] isEqual:[NSData dataWithBytes:hash length:3]]);
  EXPECT_TRUE([[key objectForKey:(NSString *)kSecAttrKeyType] isEqual:(NSString *)kSecAttrKeyTypeECSECPrimeRandom]);
  EXPECT_EQ([[key objectForKey:(NSString *)kSecAttrKeySizeInBits] intValue], 256);
  EXPECT_TRUE([[key objectForKey:(NSString *)kSecAttrCanSign] boolValue]);
  EXPECT_FALSE([[key objectForKey:(NSString *)kSecAttrCanDecrypt] boolValue]);
  EXPECT_TRUE([[key objectForKey:(NSString *)kSecAttrCanDerive] boolValue]);
  EXPECT_TRUE([key objectForKey:(NSString *)kSecAttrLabel] == nil);
}

TEST_F(SecItemCopyMatchingTest, FindsNothingOfATokenThatIsNotThere) {
  NSDictionary *query = Query(kSecClassKey, @"com.example.played:QEL-2");
  EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)query, nullptr), errSecItemNotFound);
}

TEST_F(SecItemCopyMatchingTest, RefusesWhatItDoesNotModel) {
  for (CFStringRef left : {kSecClass, kSecAttrTokenID, kSecMatchLimit, kSecReturnAttributes}) {
    NSMutableDictionary *query =
        [NSMutableDictionary dictionaryWithDictionary:Query(kSecClassKey, @"com.example.played:QEL-1")];
    [query removeObjectForKey:(NSString *)left];
    EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)query, nullptr), errSecUnimplemented)
        << [(NSString *)left UTF8String];
  }
}

}  // namespace
