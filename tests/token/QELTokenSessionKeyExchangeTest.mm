#import "tests/token/SessionTest.h"

using TestCard::Call;
using TestCard::Handle;
using TestCard::Length;
using TestCard::Row;
using TestCard::ScriptedCard;
using TestCard::TemplateRow;
using TestCard::Ulong;

class QELTokenSessionKeyExchange : public SessionTest {};
class QELTokenSessionKeyExchangeOnPinPad : public PinPadTest {};
class QELTokenSessionKeyExchangeOnTwoPinPads : public TwoPinPadsTest {};

TEST_F(QELTokenSessionKeyExchange, CallsTheCardInExactlyThisOrder) {
  EXPECT_EQ(BytesOf(Agree(PeerKey(), Parameters(32))), m_card.derivedValue);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_DeriveKey session=101 object=6 mechanism=0x1050 parameter=40"
                                       " CKA_CLASS=0x4 CKA_KEY_TYPE=0x10 CKA_VALUE_LEN=0x20",
                                       "C_GetAttributeValue session=101 object=9001 CKA_VALUE=?",
                                       "C_GetAttributeValue session=101 object=9001 CKA_VALUE=buffer"}));
  EXPECT_EQ(m_log.Lines().size(), 0u);
  EXPECT_EQ(m_systemLog.Texts(), Texts{});
}

TEST_F(QELTokenSessionKeyExchangeOnPinPad, ShowsTheDialogAroundTheDerivationOnly) {
  EXPECT_EQ(BytesOf(Agree(PeerKey(), Parameters(32))), m_card.derivedValue);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_GetSlotType slot=7", "dialog show 8",
                                       "C_DeriveKey session=101 object=6 mechanism=0x1050 parameter=40"
                                       " CKA_CLASS=0x4 CKA_KEY_TYPE=0x10 CKA_VALUE_LEN=0x20",
                                       "dialog hide", "C_GetAttributeValue session=101 object=9001 CKA_VALUE=?",
                                       "C_GetAttributeValue session=101 object=9001 CKA_VALUE=buffer"}));
}

TEST_F(QELTokenSessionKeyExchangeOnTwoPinPads, WorksInTheSessionThatTheKeysPrefixNamesUnderThatSlotsDialog) {
  EXPECT_EQ(BytesOf(Agree(PeerKey(), Parameters(32), nullptr, LaterEcKey())), m_card.derivedValue);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("102", {"C_GetSlotType slot=8", "dialog show 32",
                                       "C_DeriveKey session=102 object=6 mechanism=0x1050 parameter=40"
                                       " CKA_CLASS=0x4 CKA_KEY_TYPE=0x10 CKA_VALUE_LEN=0x20",
                                       "dialog hide", "C_GetAttributeValue session=102 object=9001 CKA_VALUE=?",
                                       "C_GetAttributeValue session=102 object=9001 CKA_VALUE=buffer"}));
}

TEST_F(QELTokenSessionKeyExchange, SharedInfoAndSizeReachTheCard) {
  const Bytes sharedInfo(16, 0x5F);
  EXPECT_NE(Agree(PeerKey(), Parameters(32, Data(sharedInfo))), nil);
  EXPECT_EQ(m_card.mechanismParameter.size(), 40u);
  EXPECT_EQ(Bytes(m_card.mechanismParameter.begin(), m_card.mechanismParameter.begin() + 8), Ulong(CKD_SHA1_KDF));
  EXPECT_EQ(m_card.sharedData, sharedInfo);
  EXPECT_EQ(m_card.derivedTemplate.back(), std::make_pair(CK_ATTRIBUTE_TYPE{CKA_VALUE_LEN}, CK_ULONG{32}));
}

TEST_F(QELTokenSessionKeyExchange, AbsentSharedInfoIsSharedDataOfLengthZero) {
  m_card.sharedData = {0x01};
  EXPECT_NE(Agree(PeerKey(), Parameters(16)), nil);
  EXPECT_EQ(m_card.sharedData, Bytes{});
}

TEST_F(QELTokenSessionKeyExchange, PublicKeyLosesItsFirstByteWhateverItHolds) {
  const Bytes point = BytesOf(PeerKey());
  Agree(PeerKey(), Parameters(32));
  EXPECT_EQ(m_card.publicData, Bytes(point.begin() + 1, point.end()));

  Bytes compressed(33, 0x58);
  compressed[0] = 0x03;
  Agree(Data(compressed), Parameters(32));
  EXPECT_EQ(m_card.publicData, Bytes(32, 0x58));
}

TEST_F(QELTokenSessionKeyExchange, TemplateHasThreeAttributesOfEightBytesInThisOrder) {
  std::vector<TemplateRow> rows;
  ScriptedCard script(AfterFindingTheKey({{"C_DeriveKey", CKR_OK, TestCard::KeepTemplate(rows, Handle(9001))},
                                          {"C_GetAttributeValue", CKR_OK, Length(4)},
                                          {"C_GetAttributeValue"}}));
  Agree(PeerKey(), Parameters(100));
  EXPECT_EQ(rows, (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_SECRET_KEY)},
                                            {CKA_KEY_TYPE, Ulong(CKK_GENERIC_SECRET)},
                                            {CKA_VALUE_LEN, Ulong(100)}}));
}

TEST_F(QELTokenSessionKeyExchange, AnyRequestedSizeIsAskedForAndWhatTheCardDerivesIsReturnedWhole) {
  for (const NSInteger size : {0L, 1L, 16L, 31L, 33L, 64L, 255L, 256L, 65536L, 0x100000020L, NSIntegerMax, -1L}) {
    EXPECT_EQ(BytesOf(Agree(PeerKey(), Parameters(size))), m_card.derivedValue) << size;
    ASSERT_EQ(m_card.derivedTemplate.size(), 3u);
    EXPECT_EQ(m_card.derivedTemplate.back(), std::make_pair(CK_ATTRIBUTE_TYPE{CKA_VALUE_LEN}, CK_ULONG(size)));
  }
}

TEST_F(QELTokenSessionKeyExchange, SharedInfoAndPointOfAnyLengthReachTheCardWhole) {
  for (const size_t length : {1, 16, 33, 65, 97, 133, 255, 256, 1000, 65537}) {
    Bytes point(length), sharedInfo(length);
    for (size_t i = 0; i < length; ++i) {
      point[i] = static_cast<CK_BYTE>(i);
      sharedInfo[i] = static_cast<CK_BYTE>(i + 7);
    }
    ASSERT_NE(Agree(Data(point), Parameters(32, Data(sharedInfo))), nil);
    EXPECT_EQ(m_card.publicData, Bytes(point.begin() + 1, point.end()));
    EXPECT_EQ(m_card.sharedData, sharedInfo);
  }
}

TEST_F(QELTokenSessionKeyExchange, EveryFirstByteOfThePeersPointIsLeftOut) {
  Bytes point(33, 0x58);
  for (int first = 0; first <= 0xFF; ++first) {
    point[0] = static_cast<CK_BYTE>(first);
    m_card.publicData = {};
    ASSERT_NE(Agree(Data(point), Parameters(32)), nil) << first;
    ASSERT_EQ(m_card.publicData, Bytes(32, 0x58)) << first;
  }
}

TEST_F(QELTokenSessionKeyExchange, TheSecretMayBeChangedByItsReceiver) {
  EXPECT_TRUE([Agree(PeerKey(), Parameters(32)) isKindOfClass:[NSMutableData class]]);
}

TEST_F(QELTokenSessionKeyExchange, TheFormOfTheDataDecidesAboutTheDerivationFunction) {
  EXPECT_NE(
      Agree(PeerKey(), Parameters(32), nullptr, EcKey(),
            Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1, kSecKeyAlgorithmECDHKeyExchangeStandard})),
      nil);
  EXPECT_EQ(Bytes(m_card.mechanismParameter.begin(), m_card.mechanismParameter.begin() + 8), Ulong(CKD_NULL));
  EXPECT_EQ(m_card.derivedTemplate.size(), 2u);
}

TEST_F(QELTokenSessionKeyExchange, WithoutADerivationFunctionTheCardChoosesTheLength) {
  std::vector<TemplateRow> rows;
  ScriptedCard script(AfterFindingTheKey({{"C_DeriveKey", CKR_OK, TestCard::KeepTemplate(rows, Handle(9001))},
                                          {"C_GetAttributeValue", CKR_OK, Length(4)},
                                          {"C_GetAttributeValue"}}));
  Agree(PeerKey(), Parameters(100, Data({0x01})), nullptr, EcKey(),
        Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandard}));
  EXPECT_EQ(rows,
            (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_SECRET_KEY)}, {CKA_KEY_TYPE, Ulong(CKK_GENERIC_SECRET)}}));
}

TEST_F(QELTokenSessionKeyExchange, EverySuccessLeavesOneMoreSecretKeyOnTheCard) {
  const size_t before = m_card.Slots().front().objects.size();
  for (size_t agreed = 1; agreed <= 3; ++agreed) {
    EXPECT_NE(Agree(PeerKey(), Parameters(32)), nil);
    EXPECT_EQ(m_card.Slots().front().objects.size(), before + agreed);
  }
  EXPECT_EQ(m_card.Count("unexpected call"), 0);
}

TEST_F(QELTokenSessionKeyExchange, SecretKeepsTheLengthOfTheFirstRead) {
  ScriptedCard script(AfterFindingTheKey({{"C_DeriveKey", CKR_OK, Handle(9001)},
                                          {"C_GetAttributeValue", CKR_OK, Length(6)},
                                          {"C_GetAttributeValue", CKR_OK, TestCard::Bytes({0x0A, 0x0B})}}));
  EXPECT_EQ(BytesOf(Agree(PeerKey(), Parameters(6))), (Bytes{0x0A, 0x0B, 0, 0, 0, 0}));
}

TEST_F(QELTokenSessionKeyExchange, LengthIsAskedForWithLengthZeroAndTheValueWithTheLength) {
  std::vector<CK_ULONG> lengths;
  const auto keep = [&](Call &call) {
    lengths.push_back(call.attributes->ulValueLen);
    call.attributes->ulValueLen = 6;
  };
  ScriptedCard script(AfterFindingTheKey({{"C_DeriveKey", CKR_OK, Handle(9001)},
                                          {"C_GetAttributeValue", CKR_OK, keep},
                                          {"C_GetAttributeValue", CKR_OK, keep}}));
  EXPECT_NE(Agree(PeerKey(), Parameters(6)), nil);
  EXPECT_EQ(lengths, (std::vector<CK_ULONG>{0, 6}));
}

TEST_F(QELTokenSessionKeyExchange, AnUnreadableLengthEndsTheAgreementWithALogLine) {
  ScriptedCard script(
      AfterFindingTheKey({{"C_DeriveKey"}, {"C_GetAttributeValue", CKR_OK, Length(CK_UNAVAILABLE_INFORMATION)}}));
  NSError *error = UntouchedError();
  EXPECT_EQ(Agree(PeerKey(), Parameters(32), &error), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Errors(), Texts{"C_GetAttributeValue() announces no usable length"});
}

#pragma mark - Failures

TEST_F(QELTokenSessionKeyExchange, ALoggedOutUserGetsAuthenticationNeededAndNoFurtherCall) {
  ExpectAuthenticationNeeded([&](NSError **error) { return Agree(PeerKey(), Parameters(32), error); });
}

TEST_F(QELTokenSessionKeyExchange, FailuresBeforeTheKeyIsFoundBecomeErrorsOfTheExtension) {
  ExpectFailuresBeforeTheKeyIsFound([&](NSError **error) { return Agree(PeerKey(), Parameters(32), error); });
}

TEST_F(QELTokenSessionKeyExchange, EveryFailedCallIsLoggedAndMappedAndEndsTheAgreement) {
  ExpectEachFailureMapped(
      {{"C_DeriveKey", CKR_OK, Handle(9001)}, {"C_GetAttributeValue", CKR_OK, Length(4)}, {"C_GetAttributeValue"}},
      [&](NSError **error) { return Agree(PeerKey(), Parameters(32), error); });
}

TEST_F(QELTokenSessionKeyExchangeOnPinPad, TheDialogIsHiddenWhenTheDerivationFails) {
  m_card.Fail("C_DeriveKey", CKR_PIN_INCORRECT);
  NSError *error = nil;
  EXPECT_EQ(Agree(PeerKey(), Parameters(32), &error), nil);
  EXPECT_TRUE(IsErrorOf(TKErrorCodeBadParameter, error));
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 8", "hide"}));
}

TEST_F(QELTokenSessionKeyExchangeOnPinPad, ForeignExceptionsPassAndTheDialogIsHidden) {
  ExpectForeignExceptionsToPass(AfterFindingTheKey({{"C_GetSlotType"}, {"C_DeriveKey"}}),
                                [&](NSError **error) { Agree(PeerKey(), Parameters(32), error); });
}
