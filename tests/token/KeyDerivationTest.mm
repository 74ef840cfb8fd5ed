#import "token/KeyDerivation.h"

#include <type_traits>

#import "tests/token/TokenTest.h"

class KeyDerivationTest : public TokenTest {
 protected:
  static const CK_ECDH1_DERIVE_PARAMS &ParameterOf(KeyDerivation &derivation) {
    return *static_cast<CK_ECDH1_DERIVE_PARAMS *>(derivation.Mechanism()->pParameter);
  }
  TKTokenKeyAlgorithm *const m_sha1 = Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1});
  TKTokenKeyAlgorithm *const m_plain = Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandard});
};

TEST_F(KeyDerivationTest, MechanismIsEcdhWithAParameterOfFortyBytes) {
  KeyDerivation derivation(m_sha1, Data({0x04, 0x58, 0x59}), Data({0x5F}));
  EXPECT_EQ(derivation.Mechanism()->mechanism, CK_MECHANISM_TYPE{0x1050});
  EXPECT_EQ(derivation.Mechanism()->ulParameterLen, 40u);
  EXPECT_TRUE(derivation.HasFunction());

  const CK_ECDH1_DERIVE_PARAMS &parameter = ParameterOf(derivation);
  EXPECT_EQ(parameter.kdf, CK_ULONG{CKD_SHA1_KDF});
  EXPECT_EQ(TestCard::ByteString(parameter.pSharedData, parameter.pSharedData + parameter.ulSharedDataLen),
            TestCard::ByteString{0x5F});
  EXPECT_EQ(TestCard::ByteString(parameter.pPublicData, parameter.pPublicData + parameter.ulPublicDataLen),
            (TestCard::ByteString{0x58, 0x59}));
}

TEST_F(KeyDerivationTest, PointsToCopiesOfItsOwn) {
  NSMutableData *publicKey = [[Data({0x04, 0x58}) mutableCopy] autorelease];
  NSMutableData *sharedInfo = [[Data({0x5F}) mutableCopy] autorelease];
  KeyDerivation derivation(m_sha1, publicKey, sharedInfo);
  [publicKey resetBytesInRange:NSMakeRange(0, [publicKey length])];
  [sharedInfo resetBytesInRange:NSMakeRange(0, [sharedInfo length])];
  EXPECT_EQ(*ParameterOf(derivation).pPublicData, 0x58);
  EXPECT_EQ(*ParameterOf(derivation).pSharedData, 0x5F);
}

TEST_F(KeyDerivationTest, AnyOtherAlgorithmHasNoFunctionAndNoSharedData) {
  for (TKTokenKeyAlgorithm *algorithm :
       {m_plain, Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA256}),
        Algorithm({kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA1}),
        Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1, kSecKeyAlgorithmECDHKeyExchangeStandard})}) {
    KeyDerivation derivation(algorithm, Data({0x04, 0x58}), Data({0x5F}));
    EXPECT_FALSE(derivation.HasFunction());
    EXPECT_EQ(ParameterOf(derivation).kdf, CK_ULONG{CKD_NULL});
    EXPECT_EQ(ParameterOf(derivation).ulSharedDataLen, 0u);
    EXPECT_EQ(ParameterOf(derivation).pSharedData, nullptr);
    EXPECT_EQ(ParameterOf(derivation).ulPublicDataLen, 1u);
  }
}

TEST_F(KeyDerivationTest, AnEmptyPublicKeyIsPublicDataOfLengthZero) {
  KeyDerivation derivation(m_sha1, [NSData data], nil);
  EXPECT_EQ(ParameterOf(derivation).ulPublicDataLen, 0u);
  EXPECT_EQ(ParameterOf(derivation).pPublicData, nullptr);
}

TEST_F(KeyDerivationTest, IsNotCopiedForItPointsIntoItself) {
  EXPECT_FALSE(std::is_copy_constructible_v<KeyDerivation>);
  EXPECT_FALSE(std::is_copy_assignable_v<KeyDerivation>);
}
