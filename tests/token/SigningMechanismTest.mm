#import "token/SignatureForms.h"

#include <type_traits>

#import "tests/token/AllAlgorithms.h"
#import "tests/token/TokenTest.h"

class SigningMechanismTest : public TokenTest {
 protected:
  /// The mechanism's number in front of the bytes of its parameter.
  static std::pair<CK_MECHANISM_TYPE, TestCard::ByteString> Made(TKTokenKeyAlgorithm *algorithm) {
    SigningMechanism mechanism(algorithm);
    const auto *parameter = static_cast<const CK_BYTE *>(mechanism.Get()->pParameter);
    return {mechanism.Get()->mechanism, {parameter, parameter + mechanism.Get()->ulParameterLen}};
  }

  /// Three numbers of eight bytes.
  static TestCard::ByteString PssBytes(CK_ULONG hash, CK_ULONG maskGeneration, CK_ULONG saltLength) {
    TestCard::ByteString bytes;
    for (const CK_ULONG value : {hash, maskGeneration, saltLength}) {
      const TestCard::ByteString number = TestCard::Ulong(value);
      bytes.insert(bytes.end(), number.begin(), number.end());
    }
    return bytes;
  }
};

TEST_F(SigningMechanismTest, PssCarriesItsHashItsMaskAndTheDigestsLengthInTwentyFourBytes) {
  EXPECT_EQ(PssBytes(0, 0, 0).size(), 24u);
  EXPECT_EQ(Made(Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256})),
            std::make_pair(CK_MECHANISM_TYPE{0x0D}, PssBytes(0x250, 2, 32)));
  EXPECT_EQ(Made(Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA384})),
            std::make_pair(CK_MECHANISM_TYPE{0x0D}, PssBytes(0x260, 3, 48)));
  EXPECT_EQ(Made(Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA512})),
            std::make_pair(CK_MECHANISM_TYPE{0x0D}, PssBytes(0x270, 4, 64)));
}

TEST_F(SigningMechanismTest, RawRsaHasNoParameter) {
  SigningMechanism mechanism(Algorithm({kSecKeyAlgorithmRSASignatureRaw}));
  EXPECT_EQ(mechanism.Get()->mechanism, CK_MECHANISM_TYPE{1});
  EXPECT_EQ(mechanism.Get()->pParameter, nullptr);
  EXPECT_EQ(mechanism.Get()->ulParameterLen, 0u);
  EXPECT_EQ(mechanism.Pss().hashAlg, 0u);
  EXPECT_EQ(mechanism.Pss().sLen, 0u);
}

TEST_F(SigningMechanismTest, EveryOtherAlgorithmIsEcdsaWithoutParameter) {
  for (const SecKeyAlgorithm algorithm : AllAlgorithms()) {
    const bool isPss = algorithm == kSecKeyAlgorithmRSASignatureDigestPSSSHA256 ||
                       algorithm == kSecKeyAlgorithmRSASignatureDigestPSSSHA384 ||
                       algorithm == kSecKeyAlgorithmRSASignatureDigestPSSSHA512;
    if (isPss) continue;
    EXPECT_EQ(Made(Algorithm({algorithm})), std::make_pair(CK_MECHANISM_TYPE{0x1041}, TestCard::ByteString{}));
    SigningMechanism mechanism(Algorithm({algorithm}));
    EXPECT_EQ(mechanism.Get()->pParameter, nullptr);
    EXPECT_EQ(mechanism.Pss().hashAlg, 0u);
  }
}

TEST_F(SigningMechanismTest, OnlyTheFormOfTheDataCounts) {
  EXPECT_EQ(Made(Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256, kSecKeyAlgorithmRSASignatureRaw})).first,
            CK_MECHANISM_TYPE{CKM_RSA_PKCS});
  EXPECT_EQ(Made(Algorithm({kSecKeyAlgorithmRSASignatureRaw, kSecKeyAlgorithmECDSASignatureDigestX962})).first,
            CK_MECHANISM_TYPE{CKM_ECDSA});
}

TEST_F(SigningMechanismTest, IsNotCopiedForItPointsIntoItself) {
  EXPECT_FALSE(std::is_copy_constructible_v<SigningMechanism>);
  EXPECT_FALSE(std::is_copy_assignable_v<SigningMechanism>);
}
