#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>
#include <openssl/sha.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/CertificateMaker.h"
#include "tests/platform/CertificateReference.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Row {
  const char *name;
  CertificateMaker (*make)();
  CFStringRef keyType;
  int bits;
};

void PrintTo(const Row &row, std::ostream *to) {
  *to << row.name;
}

class KeyOfCertificate : public ::testing::TestWithParam<Row> {};

/// The bytes that the public key's own encoding ends with: PKCS #1 for RSA, the point for elliptic curves.
bool EndsWith(const Bytes &whole, NSData *end) {
  const size_t length = [end length];
  return length > 0 && length < whole.size() && memcmp(whole.data() + whole.size() - length, [end bytes], length) == 0;
}

TEST_P(KeyOfCertificate, TakesLabelTypeSizeAndPublicKey) {
  const LiveObjects items([TKTokenKeychainKey class]);
  const CertificateMaker maker = GetParam().make();
  const CertificateReference certificate(maker.Certificate({{"CN", "Ada"}}));
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate.get()
                                                                    objectID:@"id"] autorelease];
  EXPECT_STREQ([[key label] UTF8String], "Ada");
  EXPECT_TRUE([[key keyType] isEqual:(NSString *)GetParam().keyType]);
  EXPECT_EQ([key keySizeInBits], GetParam().bits);
  EXPECT_TRUE(EndsWith(maker.PublicKeyInfo(), [key publicKeyData]));
  uint8_t hash[SHA_DIGEST_LENGTH];
  SHA1(static_cast<const uint8_t *>([[key publicKeyData] bytes]), [[key publicKeyData] length], hash);
  EXPECT_TRUE([[key publicKeyHash] isEqual:[NSData dataWithBytes:hash length:sizeof hash]]);
}

INSTANTIATE_TEST_SUITE_P(
    All, KeyOfCertificate,
    ::testing::Values(Row{"RSA2048", [] { return CertificateMaker::RSA(2048); }, kSecAttrKeyTypeRSA, 2048},
                      Row{"RSA3072", [] { return CertificateMaker::RSA(3072); }, kSecAttrKeyTypeRSA, 3072},
                      Row{"P192", [] { return CertificateMaker::EC("P-192"); }, kSecAttrKeyTypeECSECPrimeRandom, 192},
                      Row{"P256", [] { return CertificateMaker::EC("P-256"); }, kSecAttrKeyTypeECSECPrimeRandom, 256},
                      Row{"P384", [] { return CertificateMaker::EC("P-384"); }, kSecAttrKeyTypeECSECPrimeRandom, 384},
                      Row{"P521", [] { return CertificateMaker::EC("P-521"); }, kSecAttrKeyTypeECSECPrimeRandom, 521}),
    [](const auto &row) { return row.param.name; });

TEST(TKTokenKeychainKey, PublicKeyOfRsaIsAPkcs1Sequence) {
  const CertificateReference certificate(CertificateMaker::RSA().Certificate({{"CN", "Ada"}}));
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate.get()
                                                                    objectID:@"id"] autorelease];
  const auto *bytes = static_cast<const uint8_t *>([[key publicKeyData] bytes]);
  // 256 bytes of modulus with a zero byte in front, and the exponent 65537.
  ASSERT_EQ([[key publicKeyData] length], 270u);
  EXPECT_EQ(Bytes(bytes, bytes + 8), (Bytes{0x30, 0x82, 0x01, 0x0A, 0x02, 0x82, 0x01, 0x01}));
}

TEST(TKTokenKeychainKey, PublicKeyOfACurveIsTheUncompressedPoint) {
  const CertificateReference certificate(CertificateMaker::EC("P-384").Certificate({{"CN", "Ada"}}));
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate.get()
                                                                    objectID:@"id"] autorelease];
  ASSERT_EQ([[key publicKeyData] length], 97u);
  EXPECT_EQ(*static_cast<const uint8_t *>([[key publicKeyData] bytes]), 0x04);
}

TEST(TKTokenKeychainKey, CapabilitiesStartAsNo) {
  const CertificateReference certificate(CertificateMaker::EC("P-256").Certificate({{"CN", "Ada"}}));
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate.get()
                                                                    objectID:@"id"] autorelease];
  EXPECT_FALSE([key canSign] || [key canDecrypt] || [key canPerformKeyExchange] || [key isSuitableForLogin]);
  EXPECT_TRUE([key constraints] == nil);
  EXPECT_TRUE([key applicationTag] == nil);
}

TEST(TKTokenKeychainKey, OtherKindsOfKeysGiveNil) {
  const LiveObjects items([TKTokenKeychainKey class]);
  for (const CertificateMaker &maker : {CertificateMaker::Ed25519(), CertificateMaker::EC("sect233r1"),
                                        CertificateMaker::EC("secp256k1"), CertificateMaker::EC("brainpoolP256r1")}) {
    const CertificateReference certificate(maker.Certificate({{"CN", "Ada"}}));
    ASSERT_TRUE(certificate.get() != NULL);
    EXPECT_TRUE([[TKTokenKeychainKey alloc] initWithCertificate:certificate.get() objectID:@"id"] == nil);
  }
}

TEST(TKTokenKeychainKey, WithoutACertificateEverythingIsSetByHand) {
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:NULL objectID:@"id"] autorelease];
  EXPECT_TRUE([key keyType] == nil);
  EXPECT_EQ([key keySizeInBits], 0);
  [key setKeyType:(NSString *)kSecAttrKeyTypeRSA];
  [key setKeySizeInBits:1024];
  [key setSuitableForLogin:YES];
  EXPECT_TRUE([[key keyType] isEqual:@"42"]);
  EXPECT_EQ([key keySizeInBits], 1024);
  EXPECT_TRUE(key.suitableForLogin);
}

TEST(TKTokenKeychainKey, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects items([TKTokenKeychainKey class]);
  [[TKTokenKeychainKey alloc] release];
}

}  // namespace
