#include "tests/golden/Ciphertext.h"
#include "tests/golden/GoldenTrace.h"
#include "tests/golden/StoryCard.h"
#import "tests/token/TokenTest.h"
#import "token/PerformLogin.h"

namespace {

/// What one request makes of a card, with at most one call that fails on the way.
struct OperationStory {
  const char *name;
  StoryContents contents;
  bool loggedIn;
  bool (*request)(QELTokenSession *session);  // answers whether it succeeded
  bool succeeds = true;
  const char *failingCall = nullptr;
  CK_RV rv = CKR_OK;
  int occurrence = 1;
};

void PrintTo(const OperationStory &story, std::ostream *stream) {
  *stream << story.name;
}

const StoryContents kEc = {1, 1};
const StoryContents kRsa = {1, 1, true};
const StoryContents kTwoSlots = {2, 1};

}  // namespace

class OperationTrace : public TokenTest, public ::testing::WithParamInterface<OperationStory> {
 public:
  // The requests. Each uses the first published key, unless it says otherwise.

  static bool AnotherSession(QELTokenSession *session) { return MakeSession((QELToken *)[session token]) != nil; }
  static bool AskForKeyExchange(QELTokenSession *session) {
    return [session tokenSession:session
               supportsOperation:TKTokenOperationPerformKeyExchange
                        usingKey:[Key(session) objectID]
                       algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})];
  }
  static bool LogInWithTheRightPin(QELTokenSession *session) { return LogIn(session, @"1234"); }
  static bool LogInWithAWrongPin(QELTokenSession *session) { return LogIn(session, @"0000"); }
  static bool SignRaw(QELTokenSession *session) {
    return Sign(session, {0x00, 0x01, 0xFF, 0x00, 0x30, 0x31}, kSecKeyAlgorithmRSASignatureRaw);
  }
  static bool SignWrongPadding(QELTokenSession *session) {
    return Sign(session, {0x00, 0x02, 0x00, 0x30}, kSecKeyAlgorithmRSASignatureRaw);
  }
  static bool SignPss(QELTokenSession *session) {
    return Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmRSASignatureDigestPSSSHA256);
  }
  static bool SignEcdsa(QELTokenSession *session) {
    return Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmECDSASignatureDigestX962);
  }
  static bool SignEcdsaOnEachSlot(QELTokenSession *session) {
    return SignEcdsa(session) && Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmECDSASignatureDigestX962,
                                      [Key(session, 0x22) objectID]);
  }
  static bool SignWithAMissingKey(QELTokenSession *session) {
    return Sign(session, TestCard::ByteString(32, 0x44), kSecKeyAlgorithmECDSASignatureDigestX962, Data({0x12, 0x77}));
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

 private:
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
};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Of, OperationTrace, ::testing::Values(
  OperationStory{"ASessionOnTwoSlots", kTwoSlots, false, OperationTrace::AnotherSession},
  OperationStory{"ASessionOnAnUnreadableSlot", kTwoSlots, false, OperationTrace::AnotherSession, false, "C_GetTokenInfo", CKR_DEVICE_ERROR, 2},
  OperationStory{"AQuestionAboutKeyExchange", kEc, false, OperationTrace::AskForKeyExchange},
  OperationStory{"ARightPin", kEc, false, OperationTrace::LogInWithTheRightPin},
  OperationStory{"AWrongPin", kEc, false, OperationTrace::LogInWithAWrongPin, false},
  OperationStory{"ASignatureWithoutALogin", kEc, false, OperationTrace::SignEcdsa, false},
  OperationStory{"ASignatureInAnInvalidSession", kEc, true, OperationTrace::SignEcdsa, false, "C_GetSessionInfo", CKR_SESSION_HANDLE_INVALID},
  OperationStory{"ASignatureWithAMissingKey", kEc, true, OperationTrace::SignWithAMissingKey, false},
  OperationStory{"ARawRsaSignature", kRsa, true, OperationTrace::SignRaw},
  OperationStory{"ARefusedPadding", kRsa, true, OperationTrace::SignWrongPadding, false},
  OperationStory{"APssSignature", kRsa, true, OperationTrace::SignPss},
  OperationStory{"AnEcdsaSignature", kEc, true, OperationTrace::SignEcdsa},
  OperationStory{"AnEcdsaSignatureOnEachSlot", kTwoSlots, true, OperationTrace::SignEcdsaOnEachSlot},
  OperationStory{"ARefusedStartOfASignature", kEc, true, OperationTrace::SignEcdsa, false, "C_SignInit", CKR_KEY_FUNCTION_NOT_PERMITTED},
  OperationStory{"ARefusedSignatureLength", kEc, true, OperationTrace::SignEcdsa, false, "C_Sign", CKR_DEVICE_ERROR, 1},
  OperationStory{"ARefusedSignature", kEc, true, OperationTrace::SignEcdsa, false, "C_Sign", CKR_DEVICE_ERROR, 2},
  OperationStory{"ADecryption", kRsa, true, OperationTrace::Decrypt},
  OperationStory{"ARefusedStartOfADecryption", kRsa, true, OperationTrace::Decrypt, false, "C_DecryptInit", CKR_KEY_FUNCTION_NOT_PERMITTED},
  OperationStory{"ARefusedPlaintextLength", kRsa, true, OperationTrace::Decrypt, false, "C_Decrypt", CKR_DEVICE_ERROR, 1},
  OperationStory{"ARefusedDecryption", kRsa, true, OperationTrace::Decrypt, false, "C_Decrypt", CKR_DEVICE_ERROR, 2},
  OperationStory{"AKeyAgreement", kEc, true, OperationTrace::Agree},
  OperationStory{"ARefusedKeyAgreement", kEc, true, OperationTrace::Agree, false, "C_DeriveKey", CKR_MECHANISM_INVALID},
  OperationStory{"ARefusedSecretLength", kEc, true, OperationTrace::Agree, false, "C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 1},
  OperationStory{"ARefusedSecret", kEc, true, OperationTrace::Agree, false, "C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 2}
), [](const auto &info) { return std::string(info.param.name); });
// clang-format on

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
    if (story.failingCall != nullptr) card->Fail(story.failingCall, story.rv, story.occurrence);
    EXPECT_EQ(story.request(session), story.succeeds);
    EXPECT_TRUE(MatchesGoldenTrace(story.name, card->Trace()));
  }
}
