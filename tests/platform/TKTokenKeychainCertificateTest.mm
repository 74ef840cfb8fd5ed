#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/CertificateMaker.h"
#include "tests/platform/CertificateReference.h"

namespace {

TEST(TKTokenKeychainCertificate, TakesDataAndLabelAndAllowsReading) {
  const LiveObjects items([TKTokenKeychainCertificate class]);
  const auto der = CertificateMaker::EC("P-256").Certificate({{"CN", "Ada"}});
  const CertificateReference certificate(der);
  TKTokenKeychainCertificate *item = [[[TKTokenKeychainCertificate alloc] initWithCertificate:certificate.get()
                                                                                     objectID:@"id"] autorelease];
  EXPECT_TRUE([[item data] isEqual:[NSData dataWithBytes:der.data() length:der.size()]]);
  EXPECT_STREQ([[item label] UTF8String], "Ada");
  EXPECT_TRUE([[item objectID] isEqual:@"id"]);
  EXPECT_EQ([[item constraints] count], 1u);
  EXPECT_TRUE([[[item constraints] objectForKey:@(TKTokenOperationReadData)] boolValue]);
}

TEST(TKTokenKeychainCertificate, MayHoldAnyKeyAndNoName) {
  const CertificateReference certificate(CertificateMaker::Ed25519().Certificate({}));
  TKTokenKeychainCertificate *item = [[[TKTokenKeychainCertificate alloc] initWithCertificate:certificate.get()
                                                                                     objectID:@"id"] autorelease];
  EXPECT_TRUE(item != nil);
  EXPECT_TRUE([item label] == nil);
}

TEST(TKTokenKeychainCertificate, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects items([TKTokenKeychainCertificate class]);
  [[TKTokenKeychainCertificate alloc] release];
}

}  // namespace
