#import <Foundation/Foundation.h>
#import <Security/Security.h>
#include <gtest/gtest.h>

#import "platform/testing/SecKeyPrivate.h"

namespace {

struct Row {
  CFStringRef constant;
  const char *value;
};

TEST(SecConstants, HaveTheValuesThatTheOtherSystemUses) {
  const Row rows[] = {
      {kSecAttrKeyTypeRSA, "42"},
      {kSecAttrKeyTypeEC, "73"},
      {kSecAttrKeyTypeECSECPrimeRandom, "73"},
      {kSecAttrAccessGroupToken, "com.apple.token"},
      {kSecAttrTokenID, "tkid"},
      {kSecAttrLabel, "labl"},
      {kSecAttrApplicationLabel, "klbl"},
      {kSecKeyAlgorithmRSASignatureRaw, "algid:sign:RSA:raw"},
      {kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, "algid:sign:RSA:digest-PKCS1v15"},
      {kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA1, "algid:sign:RSA:digest-PKCS1v15:SHA1"},
      {kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA256, "algid:sign:RSA:message-PKCS1v15:SHA256"},
      {kSecKeyAlgorithmRSASignatureDigestPSSSHA1, "algid:sign:RSA:digest-PSS:SHA1:SHA1:20"},
      {kSecKeyAlgorithmRSASignatureDigestPSSSHA256, "algid:sign:RSA:digest-PSS:SHA256:SHA256:32"},
      {kSecKeyAlgorithmRSASignatureDigestPSSSHA384, "algid:sign:RSA:digest-PSS:SHA384:SHA384:48"},
      {kSecKeyAlgorithmRSASignatureDigestPSSSHA512, "algid:sign:RSA:digest-PSS:SHA512:SHA512:64"},
      {kSecKeyAlgorithmRSASignatureMessagePSSSHA256, "algid:sign:RSA:message-PSS:SHA256:SHA256:32"},
      {kSecKeyAlgorithmECDSASignatureDigestX962, "algid:sign:ECDSA:digest-X962"},
      {kSecKeyAlgorithmECDSASignatureDigestX962SHA256, "algid:sign:ECDSA:digest-X962:SHA256"},
      {kSecKeyAlgorithmECDSASignatureMessageX962SHA256, "algid:sign:ECDSA:message-X962:SHA256"},
      {kSecKeyAlgorithmECDSASignatureRFC4754, "algid:sign:ECDSA:RFC4754"},
      {kSecKeyAlgorithmRSAEncryptionRaw, "algid:encrypt:RSA:raw"},
      {kSecKeyAlgorithmRSAEncryptionPKCS1, "algid:encrypt:RSA:PKCS1"},
      {kSecKeyAlgorithmRSAEncryptionOAEPSHA256, "algid:encrypt:RSA:OAEP:SHA256"},
      {kSecKeyAlgorithmECDHKeyExchangeStandard, "algid:keyexchange:ECDH"},
      {kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1, "algid:keyexchange:ECDH:KDFX963:SHA1"},
      {kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA256, "algid:keyexchange:ECDH:KDFX963:SHA256"},
      {kSecKeyAlgorithmECDHKeyExchangeCofactor, "algid:keyexchange:ECDHC"},
      {kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA1, "algid:keyexchange:ECDHC:KDFX963:SHA1"},
      {kSecKeyAlgorithmRSASignatureRawCCUnit, "algid:sign:RSA:raw-cc"},
      {kSecKeyKeyExchangeParameterRequestedSize, "requestedSize"},
      {kSecKeyKeyExchangeParameterSharedInfo, "sharedInfo"},
  };
  for (const Row &row : rows) {
    EXPECT_STREQ([(NSString *)row.constant UTF8String], row.value);
  }
}

}  // namespace
