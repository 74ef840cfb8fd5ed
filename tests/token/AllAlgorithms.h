#pragma once

#import <Security/Security.h>

#include <vector>

/// Every algorithm that an application can name, in the form of the data, except the raw RSA one, which has its own
/// tests.
inline std::vector<SecKeyAlgorithm> AllAlgorithms() {
  return {
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw,
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA1,
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA224,
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA256,
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA384,
      kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA512,
      kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA1,
      kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA224,
      kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA256,
      kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA384,
      kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA512,
      kSecKeyAlgorithmRSASignatureDigestPSSSHA1,
      kSecKeyAlgorithmRSASignatureDigestPSSSHA224,
      kSecKeyAlgorithmRSASignatureDigestPSSSHA256,
      kSecKeyAlgorithmRSASignatureDigestPSSSHA384,
      kSecKeyAlgorithmRSASignatureDigestPSSSHA512,
      kSecKeyAlgorithmRSASignatureMessagePSSSHA1,
      kSecKeyAlgorithmRSASignatureMessagePSSSHA224,
      kSecKeyAlgorithmRSASignatureMessagePSSSHA256,
      kSecKeyAlgorithmRSASignatureMessagePSSSHA384,
      kSecKeyAlgorithmRSASignatureMessagePSSSHA512,
      kSecKeyAlgorithmECDSASignatureRFC4754,
      kSecKeyAlgorithmECDSASignatureDigestX962,
      kSecKeyAlgorithmECDSASignatureDigestX962SHA1,
      kSecKeyAlgorithmECDSASignatureDigestX962SHA224,
      kSecKeyAlgorithmECDSASignatureDigestX962SHA256,
      kSecKeyAlgorithmECDSASignatureDigestX962SHA384,
      kSecKeyAlgorithmECDSASignatureDigestX962SHA512,
      kSecKeyAlgorithmECDSASignatureMessageX962SHA1,
      kSecKeyAlgorithmECDSASignatureMessageX962SHA224,
      kSecKeyAlgorithmECDSASignatureMessageX962SHA256,
      kSecKeyAlgorithmECDSASignatureMessageX962SHA384,
      kSecKeyAlgorithmECDSASignatureMessageX962SHA512,
      kSecKeyAlgorithmRSAEncryptionRaw,
      kSecKeyAlgorithmRSAEncryptionPKCS1,
      kSecKeyAlgorithmRSAEncryptionOAEPSHA1,
      kSecKeyAlgorithmRSAEncryptionOAEPSHA224,
      kSecKeyAlgorithmRSAEncryptionOAEPSHA256,
      kSecKeyAlgorithmRSAEncryptionOAEPSHA384,
      kSecKeyAlgorithmRSAEncryptionOAEPSHA512,
      kSecKeyAlgorithmECDHKeyExchangeStandard,
      kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1,
      kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA224,
      kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA256,
      kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA384,
      kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA512,
      kSecKeyAlgorithmECDHKeyExchangeCofactor,
      kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA1,
      kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA224,
      kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA256,
      kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA384,
      kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA512,
  };
}
