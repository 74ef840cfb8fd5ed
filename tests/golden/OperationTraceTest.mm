#include "tests/golden/Ciphertext.h"
#include "tests/golden/GoldenTrace.h"
#include "tests/golden/Stories.h"
#import "tests/token/TokenTest.h"
#import "token/PerformLogin.h"

class OperationTrace : public TokenTest, public ::testing::WithParamInterface<OperationStory> {
 public:
  /// Answers whether it succeeded.
  static bool Perform(Request request, QELTokenSession *session) {
    switch (request) {
      case Request::AnotherSession:
        return AnotherSession(session);
      case Request::AskForKeyExchange:
        return AskForKeyExchange(session);
      case Request::LogInWithTheRightPin:
        return LogIn(session, @"1234");
      case Request::LogInWithAWrongPin:
        return LogIn(session, @"0000");
      case Request::SignRaw:
        return Sign(session, {0x00, 0x01, 0xFF, 0x00, 0x30, 0x31}, kSecKeyAlgorithmRSASignatureRaw);
      case Request::SignWrongPadding:
        return Sign(session, {0x00, 0x02, 0x00, 0x30}, kSecKeyAlgorithmRSASignatureRaw);
      case Request::SignPss:
        return Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmRSASignatureDigestPSSSHA256);
      case Request::SignEcdsa:
        return SignEcdsa(session);
      case Request::SignEcdsaOnEachSlot:
        return SignEcdsa(session) && SignEcdsa(session, [Key(session, 0x22) objectID]);
      case Request::SignWithAMissingKey:
        return SignEcdsa(session, Data({0x12, 0x77}));
      case Request::SignNothingAndThenADigest:
        Sign(session, {}, kSecKeyAlgorithmECDSASignatureDigestX962);
        return SignEcdsa(session);
      case Request::Decrypt:
        return Decrypt(session);
      case Request::Agree:
        return Agree(session);
    }
    return false;
  }

 private:
  static bool AnotherSession(QELTokenSession *session) { return MakeSession((QELToken *)[session token]) != nil; }
  static bool AskForKeyExchange(QELTokenSession *session) {
    return [session tokenSession:session
               supportsOperation:TKTokenOperationPerformKeyExchange
                        usingKey:[Key(session) objectID]
                       algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})];
  }
  static bool Decrypt(QELTokenSession *session) {
    return [session tokenSession:session
                     decryptData:Data(CiphertextFor(BytesOf([Key(session) publicKeyData])))
                        usingKey:[Key(session) objectID]
                       algorithm:Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})
                           error:nullptr] != nil;
  }
  static bool Agree(QELTokenSession *session) {
    auto *parameters = [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:32 sharedInfo:nil] autorelease];
    return [session tokenSession:session
               performKeyExchangeWithPublicKey:[Key(session) publicKeyData]
                                      usingKey:[Key(session) objectID]
                                     algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})
                                    parameters:parameters
                                         error:nullptr] != nil;
  }
  static TKTokenKeychainKey *Key(QELTokenSession *session, CK_BYTE prefix = 0x12) {
    for (TKTokenKeychainItem *item in [[[session token] keychainContents] items]) {
      if (BytesOf([item objectID]).front() == prefix) return (TKTokenKeychainKey *)item;
    }
    return nil;
  }
  static bool LogIn(QELTokenSession *session, NSString *PIN) {
    auto *login = (QELAuthOperation *)[session tokenSession:session
                                      beginAuthForOperation:TKTokenOperationSignData
                                                 constraint:@"PINAlways"
                                                      error:nullptr];
    [login setPIN:PIN];
    return [login finishWithError:nullptr] != NO;
  }
  static bool Sign(QELTokenSession *session, const TestCard::ByteString &data, SecKeyAlgorithm algorithm,
                   NSData *key = nil) {
    return [session tokenSession:session
                        signData:Data(data)
                        usingKey:key != nil ? key : [Key(session) objectID]
                       algorithm:Algorithm({algorithm})
                           error:nullptr] != nil;
  }
  static bool SignEcdsa(QELTokenSession *session, NSData *key = nil) {
    return Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmECDSASignatureDigestX962, key);
  }
};

INSTANTIATE_TEST_SUITE_P(Of, OperationTrace, ::testing::ValuesIn(kOperations),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_P(OperationTrace, IsAsKept) {
  const OperationStory &story = GetParam();
  const auto card = MakeStoryCard(story.contents);
  @autoreleasepool {
    QELTokenSession *session = MakeSession(MakeToken());
    ASSERT_NE(session, nil);
    for (SlotSessionPair *pair in [session hSlotSessionPairs]) {
      [session setHCurrentPair:pair];
      if (story.loggedIn) ASSERT_TRUE(performLogin(session, @"1234", nullptr));
    }
    [session setHCurrentPair:[[session hSlotSessionPairs] firstObject]];
    card->ClearCalls();
    if (story.fault.call != nullptr) card->Fail(story.fault.call, story.fault.rv, story.fault.occurrence);
    EXPECT_EQ(Perform(story.request, session), story.succeeds);
    EXPECT_TRUE(MatchesGoldenTrace(story.name, card->Trace()));
  }
}
