#import "tests/token/SessionTest.h"

namespace {

/// What is done again and again leaves no object of any class behind: no text, no data, no error.
class ObjectsLeftBehindBy : public SessionTest {
 protected:
  static void ExpectNoneOf(const std::function<void()> &body) { EXPECT_EQ(ObjectsLeftBehind(body), 0); }
};

TEST_F(ObjectsLeftBehindBy, AToken) {
  ExpectNoneOf([] { MakeToken(); });
}

TEST_F(ObjectsLeftBehindBy, ATokenThatIsRefused) {
  ExpectNoneOf([] {
    NSError *error = nil;
    EXPECT_EQ(MakeToken(&error, SmartCard(@"Another Reader")), nil);
    EXPECT_NE([error localizedDescription], nil);
  });
}

TEST_F(ObjectsLeftBehindBy, ASession) {
  ExpectNoneOf([&] { MakeSession(m_token); });
}

TEST_F(ObjectsLeftBehindBy, ASessionThatKeptTheCardOfALogin) {
  ExpectNoneOf([] { Begun<QELAuthOperation>(MakeSession(MakeToken())); });
}

TEST_F(ObjectsLeftBehindBy, Operations) {
  ExpectNoneOf([&] { EXPECT_NE(Sign(Block(), RawRsa()), nil); });
  ExpectNoneOf([&] { EXPECT_NE(Sign(Block(), Ecdsa(), nullptr, EcKey()), nil); });
  ExpectNoneOf([&] { EXPECT_NE(Decrypt(Ciphertext()), nil); });
  ExpectNoneOf([&] { EXPECT_NE(Agree(PeerKey(), Parameters(32, Data({0x01}))), nil); });
  ExpectNoneOf([&] { EXPECT_TRUE(Supports(TKTokenOperationSignData, RsaKey(), RawRsa())); });
}

TEST_F(ObjectsLeftBehindBy, OperationsThatFail) {
  ExpectNoneOf([&] {
    NSError *error = nil;
    EXPECT_EQ(Sign(Block(), RawRsa(), &error, Data({0x12, 0x77})), nil);
    EXPECT_NE(error, nil);
  });
}

TEST_F(ObjectsLeftBehindBy, Logins) {
  ExpectNoneOf([&] {
    QELAuthOperation *login = Begun<QELAuthOperation>(m_session);
    [login setPIN:@"1234"];
    NSError *error = nil;
    [login finishWithError:&error];
  });
}

}  // namespace
