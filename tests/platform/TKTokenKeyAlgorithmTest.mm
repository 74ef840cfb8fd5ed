#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TKTokenKeyAlgorithm *Derived() {
  return [[[TKTokenKeyAlgorithm alloc] initWithAlgorithms:@[
    (NSString *)kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, (NSString *)kSecKeyAlgorithmRSASignatureRaw
  ]] autorelease];
}

TEST(TKTokenKeyAlgorithm, IsTheLastOfTheListOnly) {
  EXPECT_TRUE([Derived() isAlgorithm:kSecKeyAlgorithmRSASignatureRaw]);
  EXPECT_FALSE([Derived() isAlgorithm:kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw]);
  EXPECT_FALSE([Derived() isAlgorithm:kSecKeyAlgorithmECDSASignatureDigestX962]);
}

TEST(TKTokenKeyAlgorithm, SupportsEveryOneOfTheList) {
  EXPECT_TRUE([Derived() supportsAlgorithm:kSecKeyAlgorithmRSASignatureRaw]);
  EXPECT_TRUE([Derived() supportsAlgorithm:kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw]);
  EXPECT_FALSE([Derived() supportsAlgorithm:kSecKeyAlgorithmECDSASignatureDigestX962]);
}

TEST(TKTokenKeyAlgorithm, ComparesNamesAndNotObjects) {
  NSString *name = [NSString stringWithFormat:@"algid:sign:%@:raw", @"RSA"];
  EXPECT_TRUE([Derived() isAlgorithm:(SecKeyAlgorithm)name]);
}

TEST(TKTokenKeyAlgorithm, AnEmptyListIsAndSupportsNothing) {
  TKTokenKeyAlgorithm *none = [[[TKTokenKeyAlgorithm alloc] initWithAlgorithms:@[]] autorelease];
  EXPECT_FALSE([none isAlgorithm:kSecKeyAlgorithmRSASignatureRaw]);
  EXPECT_FALSE([none supportsAlgorithm:kSecKeyAlgorithmRSASignatureRaw]);
}

}  // namespace
