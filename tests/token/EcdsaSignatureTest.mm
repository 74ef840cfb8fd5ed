#import "token/SignatureForms.h"

#import <Security/Security.h>

#include "tests/token/CoderFaults.h"
#import "tests/token/SessionTest.h"

using TestCard::ByteString;

class EcdsaSignature : public TokenTest {
 protected:
  /// The DER form of r and s, one after the other.
  static ByteString Der(const ByteString &r, const ByteString &s) {
    ByteString raw = r;
    raw.insert(raw.end(), s.begin(), s.end());
    return BytesOf(DerFromRawEcdsaSignature(Data(raw)));
  }

  static ByteString DerOf(const ByteString &raw) { return BytesOf(DerFromRawEcdsaSignature(Data(raw))); }
};

class EcdsaSignatureOnCard : public SessionTest {};

TEST_F(EcdsaSignature, SmallNumbersAreTwoIntegersInASequence) {
  EXPECT_EQ(Der({0x01, 0x02}, {0x03, 0x04}), (ByteString{0x30, 0x08, 0x02, 0x02, 0x01, 0x02, 0x02, 0x02, 0x03, 0x04}));
}

TEST_F(EcdsaSignature, ATopBitGetsALeadingZero) {
  EXPECT_EQ(Der({0x80, 0x02}, {0x7F, 0xFF}),
            (ByteString{0x30, 0x09, 0x02, 0x03, 0x00, 0x80, 0x02, 0x02, 0x02, 0x7F, 0xFF}));
}

TEST_F(EcdsaSignature, LeadingZerosAreDropped) {
  EXPECT_EQ(Der({0x00, 0x12}, {0x00, 0x00}), (ByteString{0x30, 0x06, 0x02, 0x01, 0x12, 0x02, 0x01, 0x00}));
  EXPECT_EQ(Der({0x00, 0x00, 0x80}, {0x00, 0x01, 0x00}),
            (ByteString{0x30, 0x08, 0x02, 0x02, 0x00, 0x80, 0x02, 0x02, 0x01, 0x00}));
}

TEST_F(EcdsaSignature, ASixtyFourByteSignatureWithTopBitsIsSeventyTwoBytesLong) {
  const ByteString der = Der(ByteString(32, 0xFF), ByteString(32, 0x80));
  ASSERT_EQ(der.size(), 72u);
  EXPECT_EQ(ByteString(der.begin(), der.begin() + 6), (ByteString{0x30, 0x46, 0x02, 0x21, 0x00, 0xFF}));
}

TEST_F(EcdsaSignature, TheLargestCurveNeedsALongLength) {
  const ByteString der = Der(ByteString(66, 0x01), ByteString(66, 0x01));
  ASSERT_EQ(der.size(), 3u + 2 * 68);
  EXPECT_EQ(ByteString(der.begin(), der.begin() + 5), (ByteString{0x30, 0x81, 0x88, 0x02, 0x42}));
}

TEST_F(EcdsaSignature, AnOddLengthIsSplitByIntegerDivision) {
  EXPECT_EQ(DerOf({0x01, 0x02, 0x03}), (ByteString{0x30, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x02}));
}

TEST_F(EcdsaSignature, AnEmptySignatureIsTwoEmptyIntegers) {
  EXPECT_EQ(DerOf({}), (ByteString{0x30, 0x04, 0x02, 0x00, 0x02, 0x00}));
}

#pragma mark - The platform's coder

TEST_F(EcdsaSignature, TheCoderIsReleased) {
  const CoderFaults coder;
  DerOf({0x01, 0x02});
  EXPECT_EQ(coder.Created(), 1);
  EXPECT_EQ(coder.Released(), 1);
}

TEST_F(EcdsaSignatureOnCard, ARefusedEncodingGivesNilWithoutErrorObjectAndWithoutAMessage) {
  CoderFaults coder;
  coder.RefuseToEncode();
  NSError *error = UntouchedError();
  EXPECT_EQ(Sign(Data(Bytes(32, 0x44)), Ecdsa(), &error, EcKey()), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Errors(), Texts{});
  EXPECT_EQ(coder.Created(), 1);
  EXPECT_EQ(coder.Released(), 1);
}

TEST_F(EcdsaSignatureOnCard, AMissingCoderGivesNilWithoutErrorObject) {
  CoderFaults coder;
  coder.RefuseToCreate();
  NSError *error = UntouchedError();
  EXPECT_EQ(Sign(Data(Bytes(32, 0x44)), Ecdsa(), &error, EcKey()), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(coder.AskedToEncode(), 0) << "it takes no null coder";
  EXPECT_EQ(coder.Released(), 0);
}
