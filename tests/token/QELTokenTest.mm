#import "tests/token/TokenTest.h"

using TestCard::FakeCard;
using Texts = std::vector<std::string>;

class QELTokenConstruction : public TokenTest {};

TEST_F(QELTokenConstruction, CallsTheCardInExactlyThisOrder) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    ASSERT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(card.Names().front(), "C_Initialize");
  EXPECT_EQ(card.Names().back(), "C_CloseSession");
  EXPECT_EQ(card.OpenSessions(), 0);
}

TEST_F(QELTokenConstruction, NamesTheTokenAfterTheTrimmedSerialNumber) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    EXPECT_STREQ([[MakeToken() instanceID] UTF8String], "QEL-00A1B2C3");
  }
}

TEST_F(QELTokenConstruction, SignsWithTheRsaKeyAfterALogin) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    QELTokenSession *session = MakeSession(token);
    card.LogIn();
    NSData *signature = [session tokenSession:session
                                     signData:Data({0x00, 0x01, 0xFF, 0x00, 0x30, 0x31})
                                     usingKey:Data({0x12, 0x01, 0x02})
                                    algorithm:Algorithm({kSecKeyAlgorithmRSASignatureRaw})
                                        error:nullptr];
    EXPECT_EQ(BytesOf(signature), card.signature);
    EXPECT_EQ(card.signedData, (TestCard::ByteString{0x30, 0x31}));
  }
}
