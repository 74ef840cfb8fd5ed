// What a library does that it must not do: lengths that lie, counts above the buffer, handles that die.

#include <cstring>
#include <functional>

#import "tests/token/TokenTest.h"

using namespace TestCard;
using Strings = std::vector<std::string>;

namespace {

/// A fake card one of whose calls is answered by the test.
class BentCard : public FakeCard {
 public:
  using Bend = std::function<CK_RV(Call &)>;

  BentCard(std::vector<FakeSlot> slots, std::string call, Bend bend)
      : FakeCard(std::move(slots)), m_call(std::move(call)), m_bend(std::move(bend)) {}

  /// Bends only from now on.
  void Arm() { m_armed = true; }

 protected:
  CK_RV Answer(Call &call) override { return m_armed && m_call == call.name ? m_bend(call) : FakeCard::Answer(call); }

 private:
  std::string m_call;
  Bend m_bend;
  bool m_armed = false;
};

/// Answers a size query with `announced`, and the call with the buffer by writing `written` bytes and saying `said`.
BentCard::Bend Sizes(CK_ULONG announced, CK_ULONG written, CK_ULONG said) {
  return [=](Call &call) -> CK_RV {
    CK_ULONG &length = call.attributes != nullptr ? call.attributes->ulValueLen : *call.outputLength;
    void *buffer = call.attributes != nullptr ? call.attributes->pValue : call.output;
    if (buffer == nullptr) {
      length = announced;
    } else {
      std::memset(buffer, 0xAB, written);
      length = said;
    }
    return CKR_OK;
  };
}

constexpr CK_ULONG kNoLength = CK_UNAVAILABLE_INFORMATION;

}  // namespace

class MisbehavingLibrary : public TokenTest {
 protected:
  static NSData *Sign(QELTokenSession *session) {
    return [session tokenSession:session
                        signData:Data({1, 2, 3})
                        usingKey:Data({0x12, 0x01, 0x02})
                       algorithm:Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256})
                           error:nullptr];
  }
  static NSData *Decrypt(QELTokenSession *session) {
    return [session tokenSession:session
                     decryptData:Data({1, 2, 3})
                        usingKey:Data({0x12, 0x01, 0x02})
                       algorithm:Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})
                           error:nullptr];
  }
  static NSData *Agree(QELTokenSession *session) {
    auto *parameters = [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:32 sharedInfo:nil] autorelease];
    return [session tokenSession:session
        performKeyExchangeWithPublicKey:Data({4, 1, 2})
                               usingKey:Data({0x12, 0x03, 0x04})
                              algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})
                             parameters:parameters
                                  error:nullptr];
  }

  /// Runs one operation on a card whose `call` is bent; -1 for no result, else the result's length.
  long LengthOfResult(NSData *(*operation)(QELTokenSession *), const std::string &call, BentCard::Bend bend) {
    BentCard card(OneSlot(), call, std::move(bend));
    @autoreleasepool {
      QELTokenSession *session = MakeSession(MakeToken());
      card.LogIn();
      card.Arm();
      NSData *result = operation(session);
      return result == nil ? -1 : static_cast<long>([result length]);
    }
  }

  /// Constructs a token on a bent card and returns the error's code, 0 without one.
  long CodeOfConstruction(std::vector<FakeSlot> slots, const std::string &call, BentCard::Bend bend) {
    BentCard card(std::move(slots), call, std::move(bend));
    card.Arm();
    @autoreleasepool {
      NSError *error = nil;
      MakeToken(&error);
      return [error code];
    }
  }
};

TEST_F(MisbehavingLibrary, ASignatureThatIsNoLengthLongFailsWithoutAnError) {
  EXPECT_EQ(LengthOfResult(Sign, "C_Sign", Sizes(kNoLength, 0, 0)), -1);
  EXPECT_EQ(m_log.Errors(), Strings{"C_Sign() announces no usable length"});
}

TEST_F(MisbehavingLibrary, APlaintextThatIsNoLengthLongFailsWithoutAnError) {
  EXPECT_EQ(LengthOfResult(Decrypt, "C_Decrypt", Sizes(kNoLength, 0, 0)), -1);
  EXPECT_EQ(m_log.Errors(), Strings{"C_Decrypt() announces no usable length"});
}

TEST_F(MisbehavingLibrary, ADerivedValueThatIsNoLengthLongFailsWithoutAnError) {
  EXPECT_EQ(LengthOfResult(Agree, "C_GetAttributeValue", Sizes(kNoLength, 0, 0)), -1);
  EXPECT_EQ(m_log.Errors(), Strings{"C_GetAttributeValue() announces no usable length"});
}

TEST_F(MisbehavingLibrary, ASignatureKeepsTheAnnouncedLengthWhateverIsWritten) {
  EXPECT_EQ(LengthOfResult(Sign, "C_Sign", Sizes(64, 10, 10)), 64);
  EXPECT_EQ(LengthOfResult(Sign, "C_Sign", Sizes(64, 64, 1 << 20)), 64);
}

TEST_F(MisbehavingLibrary, APlaintextIsNeverLongerThanItsBuffer) {
  EXPECT_EQ(LengthOfResult(Decrypt, "C_Decrypt", Sizes(64, 64, kNoLength)), 64);
  EXPECT_EQ(LengthOfResult(Decrypt, "C_Decrypt", Sizes(64, 10, 10)), 10);
  EXPECT_EQ(LengthOfResult(Decrypt, "C_Decrypt", Sizes(0, 0, 500)), 0);
}

TEST_F(MisbehavingLibrary, AnEmptySignatureIsStillAskedForWithABuffer) {
  bool sawBuffer = false;
  const auto bend = [&](Call &call) -> CK_RV {
    if (call.output != nullptr) sawBuffer = true;
    *call.outputLength = 0;
    return CKR_OK;
  };
  EXPECT_EQ(LengthOfResult(Sign, "C_Sign", bend), 0);
  EXPECT_TRUE(sawBuffer);
}

TEST_F(MisbehavingLibrary, AnAttributeWithoutALengthFailsTheConstruction) {
  EXPECT_EQ(CodeOfConstruction(OneSlot(), "C_GetAttributeValue", Sizes(kNoLength, 0, 0)), -6);
}

TEST_F(MisbehavingLibrary, AnAttributeThatShrinksKeepsItsFirstLength) {
  // The certificate's bytes are then no certificate: it is skipped and the token has no items.
  BentCard card(OneSlot(), "C_GetAttributeValue", Sizes(100, 3, 3));
  card.Arm();
  @autoreleasepool {
    QELToken *token = MakeToken();
    ASSERT_NE(token, nil);
    EXPECT_EQ([[[token keychainContents] items] count], 0u);
  }
}

TEST_F(MisbehavingLibrary, MoreFoundObjectsThanAskedForFailTheConstruction) {
  EXPECT_EQ(CodeOfConstruction(OneSlot(), "C_FindObjects",
                               [](Call &call) -> CK_RV {
                                 *call.outputLength = 33;
                                 return CKR_OK;
                               }),
            -6);
}

TEST_F(MisbehavingLibrary, ANumberOfSlotsThatIsNoneFailsTheConstruction) {
  EXPECT_EQ(CodeOfConstruction(OneSlot(), "C_GetSlotList",
                               [](Call &call) -> CK_RV {
                                 *call.outputLength = kNoLength;
                                 return CKR_OK;
                               }),
            -4);
}

TEST_F(MisbehavingLibrary, ASlotListThatGrowsIsReadAsFarAsItWasAskedFor) {
  const auto grow = [](Call &call) -> CK_RV {
    if (call.output != nullptr) *static_cast<CK_SLOT_ID *>(call.output) = 7;
    *call.outputLength = call.output == nullptr ? 1 : 1000;
    return CKR_OK;
  };
  BentCard card(OneSlot(), "C_GetSlotList", grow);
  card.Arm();
  @autoreleasepool {
    QELToken *token = MakeToken();
    EXPECT_EQ([[token hSlots] count], 1u);
  }
}

TEST_F(MisbehavingLibrary, ACardThatGoesAwayFailsEveryOperationAndClosesEverySession) {
  FakeCard card(OneSlot());
  card.IgnoreLeftovers();
  @autoreleasepool {
    QELTokenSession *session = MakeSession(MakeToken());
    card.LogIn();
    for (const char *call : {"C_GetSessionInfo", "C_FindObjectsInit", "C_SignInit", "C_CloseSession"}) {
      card.Fail(call, CKR_DEVICE_REMOVED, 0);
    }
    EXPECT_EQ(Sign(session), nil);
    EXPECT_EQ(Decrypt(session), nil);
    EXPECT_EQ(Agree(session), nil);
  }
  EXPECT_EQ(card.Count("C_CloseSession"), 1);
}

TEST_F(MisbehavingLibrary, AThousandCertificatesArePublished) {
  FakeSlot slot{7, kReader};
  for (CK_OBJECT_HANDLE i = 0; i < 1000; ++i) {
    const ByteString id = {static_cast<CK_BYTE>(i >> 8), static_cast<CK_BYTE>(i)};
    slot.objects.push_back(UserCertificate(2 * i + 1, id, "certificate", TestCertificates::Ec()));
    slot.objects.push_back(PublicKeyObject(2 * i + 2, id, "key", CKK_EC));
  }
  FakeCard card({slot});
  @autoreleasepool {
    EXPECT_EQ([[[MakeToken() keychainContents] items] count], 2000u);
  }
}

TEST_F(MisbehavingLibrary, AMebibyteOfLabelIsPublished) {
  FakeSlot slot{7, kReader};
  slot.objects = {UserCertificate(1, {1}, std::string(1 << 20, 'x'), TestCertificates::Ec())};
  FakeCard card({slot});
  @autoreleasepool {
    TKTokenKeychainItem *item = [[[MakeToken() keychainContents] items] firstObject];
    EXPECT_GT([[item label] length], 1u << 20);
  }
}

TEST_F(MisbehavingLibrary, ACertificateCutAnywhereNeverPublishesAnItem) {
  const ByteString whole = TestCertificates::Ec();
  for (size_t length = 0; length < whole.size(); length += 7) {
    FakeSlot slot{7, kReader};
    slot.objects = {UserCertificate(1, {1}, "cut", {whole.begin(), whole.begin() + static_cast<long>(length)})};
    FakeCard card({slot});
    @autoreleasepool {
      QELToken *token = MakeToken();
      ASSERT_NE(token, nil);
      EXPECT_EQ([[[token keychainContents] items] count], 0u) << "at " << length;
    }
  }
}
