#import "tests/token/SessionTest.h"
#import "token/NSExceptionSeam.h"

using TestCard::Call;
using TestCard::Length;
using TestCard::ScriptedCard;

class QELTokenSessionSigning : public SessionTest {};
class QELTokenSessionSigningOnPinPad : public PinPadTest {};
class QELTokenSessionSigningOnTwoSlots : public TwoSlotTest {};
class QELTokenSessionSigningOnTwoPinPads : public TwoPinPadsTest {};

TEST_F(QELTokenSessionSigning, RawRsaCallsTheCardInExactlyThisOrder) {
  EXPECT_EQ(BytesOf(Sign(Block(), RawRsa())), m_card.signature);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_SignInit session=101 object=3 mechanism=0x1 parameter=0",
                                       "C_Sign session=101 output=?", "C_Sign session=101 output=buffer"}));
  EXPECT_EQ(m_log.Infos(), (Texts{"0", "0"}));
  EXPECT_EQ(m_log.Errors(), Texts{});
  EXPECT_EQ(m_systemLog.Texts(), Texts{});
}

TEST_F(QELTokenSessionSigning, PssCallsTheCardInExactlyThisOrder) {
  Sign(Data(Bytes(48, 0x44)), Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA384}));
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_SignInit session=101 object=3 mechanism=0xd parameter=24",
                                       "C_Sign session=101 output=?", "C_Sign session=101 output=buffer"}));
}

TEST_F(QELTokenSessionSigning, EcdsaCallsTheCardInExactlyThisOrder) {
  EXPECT_NE(Sign(Data(Bytes(32, 0x44)), Ecdsa(), nullptr, EcKey()), nil);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_SignInit session=101 object=6 mechanism=0x1041 parameter=0",
                                       "C_Sign session=101 output=?", "C_Sign session=101 output=buffer"}));
}

TEST_F(QELTokenSessionSigningOnPinPad, ShowsTheDialogAroundTheSecondCallOnly) {
  EXPECT_EQ(BytesOf(Sign(Block(), RawRsa())), m_card.signature);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey(
                "101", {"C_SignInit session=101 object=3 mechanism=0x1 parameter=0", "C_Sign session=101 output=?",
                        "C_GetSlotType slot=7", "dialog show 8", "C_Sign session=101 output=buffer", "dialog hide"}));
}

TEST_F(QELTokenSessionSigningOnTwoSlots, WorksInTheSessionThatTheKeysPrefixNames) {
  Sign(Block(), RawRsa(), nullptr, LaterRsaKey());
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("102", {"C_SignInit session=102 object=3 mechanism=0x1 parameter=0",
                                       "C_Sign session=102 output=?", "C_Sign session=102 output=buffer"}));
}

TEST_F(QELTokenSessionSigningOnTwoPinPads, ShowsTheDialogOfTheSlotThatSigns) {
  EXPECT_NE(Sign(Block(), RawRsa(), nullptr, LaterRsaKey()), nil);
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 32", "hide"}));
  EXPECT_NE(Sign(Block(), RawRsa()), nil);
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 32", "hide", "show 8", "hide"}));
}

#pragma mark - Input

TEST_F(QELTokenSessionSigning, RawBlockIsSignedFromTheByteAfterTheSeparator) {
  Sign(Data({0x00, 0x01, 0xFF, 0xFF, 0x00, 0x30, 0x31, 0x00, 0x32}), RawRsa());
  EXPECT_EQ(m_card.signedData, (Bytes{0x30, 0x31, 0x00, 0x32}));
}

TEST_F(QELTokenSessionSigning, BothSignCallsGetTheSamePayload) {
  std::vector<Bytes> inputs;
  const auto keep = [&](Call &call) {
    inputs.emplace_back(call.input, call.input + call.inputLength);
    *call.outputLength = 4;
  };
  ScriptedCard script(AfterFindingTheKey({{"C_SignInit"}, {"C_Sign", CKR_OK, keep}, {"C_Sign", CKR_OK, keep}}));
  Sign(Block(), RawRsa());
  EXPECT_EQ(inputs, (std::vector<Bytes>{{0x30, 0x31}, {0x30, 0x31}}));
}

TEST_F(QELTokenSessionSigning, TheSecondCallIsToldTheLengthThatTheFirstAnnounced) {
  CK_ULONG told = 0;
  const auto keep = [&](Call &call) { told = *call.outputLength; };
  ScriptedCard script(AfterFindingTheKey({{"C_SignInit"}, {"C_Sign", CKR_OK, Length(70)}, {"C_Sign", CKR_OK, keep}}));
  EXPECT_EQ([Sign(Block(), RawRsa()) length], 70u);
  EXPECT_EQ(told, 70u);
}

TEST_F(QELTokenSessionSigning, DigestsAreSignedWholeHoweverTheyBegin) {
  Bytes longBlock(48, 0xFF);
  longBlock[0] = 0x00;
  longBlock[1] = 0x01;
  longBlock[32] = 0x00;
  for (const Bytes &digest : {Bytes{0x00, 0x02, 0xFF, 0x00, 0x01}, BytesOf(Block()), longBlock, Bytes(32, 0x00)}) {
    for (const SecKeyAlgorithm algorithm :
         {kSecKeyAlgorithmRSASignatureDigestPSSSHA256, kSecKeyAlgorithmRSASignatureDigestPSSSHA384,
          kSecKeyAlgorithmRSASignatureDigestPSSSHA512, kSecKeyAlgorithmECDSASignatureDigestX962}) {
      Sign(Data(digest), Algorithm({algorithm}));
      EXPECT_EQ(m_card.signedData, digest) << [(NSString *)algorithm UTF8String];
    }
  }
}

TEST_F(QELTokenSessionSigning, EmptyDataHasBytesToPointToAndLeavesNoOperationOpen) {
  for (const SecKeyAlgorithm algorithm :
       {kSecKeyAlgorithmRSASignatureDigestPSSSHA256, kSecKeyAlgorithmECDSASignatureDigestX962}) {
    EXPECT_NE(Sign([NSData data], Algorithm({algorithm})), nil) << [(NSString *)algorithm UTF8String];
    EXPECT_EQ(m_card.signedData, Bytes{});
  }
  EXPECT_NE(Sign(Data({0x00, 0x01, 0xFF, 0x00}), RawRsa()), nil) << "a block without a payload";
  EXPECT_EQ(m_card.signedData, Bytes{});
}

TEST_F(QELTokenSessionSigning, RefusedPaddingGivesNoErrorObjectAndOneLogLine) {
  for (NSData *block : {Data({0x00, 0x02, 0xFF, 0x00, 0x30}), Data({0x01, 0x01, 0x00, 0x30}),
                        Data({0x00, 0x01, 0xFF, 0xFE, 0x00}), Data({0x00, 0x01, 0xFF, 0xFF}), Data({})}) {
    const CapturedLog log;
    NSError *error = UntouchedError();
    ScriptedCard script(AfterFindingTheKey({{"C_SignInit"}}));
    EXPECT_EQ(Sign(block, RawRsa(), &error), nil);
    EXPECT_EQ(error, UntouchedError());
    EXPECT_EQ(log.Errors(), Texts{"data to sign contains incorrect padding"});
  }
}

TEST_F(QELTokenSessionSigning, TheTwoNumbersAreLoggedBeforeThePaddingIsRefused) {
  EXPECT_EQ(Sign(Data({0x00, 0x02}), RawRsa()), nil);
  EXPECT_EQ(m_log.Lines(), (LogLines{{kInfo, "0"}, {kInfo, "0"}, {kError, "data to sign contains incorrect padding"}}));
}

TEST_F(QELTokenSessionSigning, ASignatureThatCannotBeginLogsNoNumbers) {
  m_card.Fail("C_SignInit", CKR_KEY_FUNCTION_NOT_PERMITTED);
  EXPECT_EQ(Sign(Data({0x00, 0x02}), RawRsa()), nil);
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_SignInit() => 0x00000068"}})) << "nor looks at the padding";
}

TEST_F(QELTokenSessionSigning, RefusedPaddingLeavesTheSignOperationOpen) {
  EXPECT_EQ(Sign(Data({0x00, 0x02}), RawRsa()), nil);
  EXPECT_EQ(m_card.Names().back(), "C_SignInit");

  NSError *error = UntouchedError();
  EXPECT_EQ(Sign(Block(), RawRsa(), &error), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Errors().back(), "C_SignInit() => 0x00000090");
}

#pragma mark - Result

TEST_F(QELTokenSessionSigning, SignatureKeepsTheLengthOfTheSizeQueryAndEndsInZeros) {
  m_card.announcedLength["C_Sign"] = 70;
  Bytes expected = m_card.signature;
  expected.resize(70, 0x00);
  EXPECT_EQ(BytesOf(Sign(Block(), RawRsa())), expected);
}

TEST_F(QELTokenSessionSigning, AnEcdsaSignatureComesBackInDer) {
  m_card.signature = Bytes(64, 0x11);
  m_card.signature[0] = 0x80;
  const Bytes der = BytesOf(Sign(Data(Bytes(32, 0x44)), Ecdsa(), nullptr, EcKey()));
  ASSERT_EQ(der.size(), 2u + 2 + 33 + 2 + 32);
  EXPECT_EQ(Bytes(der.begin(), der.begin() + 7), (Bytes{0x30, 0x45, 0x02, 0x21, 0x00, 0x80, 0x11}));
}

TEST_F(QELTokenSessionSigning, AnEcdsaSignatureIsSplitInTheMiddleOfTheAnnouncedLength) {
  m_card.signature = {0x11, 0x12, 0x13, 0x14};
  m_card.announcedLength["C_Sign"] = 6;
  EXPECT_EQ(BytesOf(Sign(Data(Bytes(32, 0x44)), Ecdsa(), nullptr, EcKey())),
            (Bytes{0x30, 0x0A, 0x02, 0x03, 0x11, 0x12, 0x13, 0x02, 0x03, 0x14, 0x00, 0x00}));
}

TEST_F(QELTokenSessionSigning, OnlyTheExactEcdsaAlgorithmIsEncoded) {
  NSData *signature = Sign(Data(Bytes(32, 0x44)), Algorithm({kSecKeyAlgorithmECDSASignatureRFC4754}), nullptr, EcKey());
  EXPECT_EQ(BytesOf(signature), m_card.signature);
}

TEST_F(QELTokenSessionSigning, AnAnnouncedLengthOfZeroStillHandsTheCardABuffer) {
  m_card.signature = {};
  NSData *signature = Sign(Block(), RawRsa());
  ASSERT_NE(signature, nil);
  EXPECT_EQ([signature length], 0u);
  EXPECT_EQ(m_card.Calls().back(), "C_Sign session=101 output=buffer");
}

TEST_F(QELTokenSessionSigning, AnAnnouncedLengthThatIsNoneEndsTheSignatureWithALogLine) {
  m_card.announcedLength["C_Sign"] = CK_UNAVAILABLE_INFORMATION;
  NSError *error = UntouchedError();
  EXPECT_EQ(Sign(Block(), RawRsa(), &error), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Errors(), Texts{"C_Sign() announces no usable length"});
}

TEST_F(QELTokenSessionSigning, LogsThePssParametersAsTwoBareNumbers) {
  Sign(Data(Bytes(64, 0x44)), Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA512}));
  EXPECT_EQ(m_log.Infos(), (Texts{"624", "64"}));
}

#pragma mark - The form of the data

// An algorithm's last form is that of the data; those before it only say where it comes from.

TEST_F(QELTokenSessionSigning, ABlockThatIsNotTheDataAnyMoreIsNotTakenForOne) {
  NSData *signature =
      Sign(Block(), Algorithm({kSecKeyAlgorithmRSASignatureRaw, kSecKeyAlgorithmRSASignatureDigestPSSSHA256}));
  EXPECT_EQ(BytesOf(signature), m_card.signature);
  EXPECT_EQ(m_card.signedData, BytesOf(Block())) << "no padding is removed";
  EXPECT_EQ(m_card.mechanism, CKM_RSA_PKCS_PSS);
}

TEST_F(QELTokenSessionSigning, ADigestOfPssThatIsNotTheDataAnyMoreDecidesNothing) {
  Sign(Block(), Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256, kSecKeyAlgorithmRSASignatureRaw}));
  EXPECT_EQ(m_card.mechanism, CKM_RSA_PKCS);
  EXPECT_EQ(m_card.signedData, (Bytes{0x30, 0x31}));
  Sign(Data(Bytes(32, 0x44)),
       Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256, kSecKeyAlgorithmECDSASignatureRFC4754}));
  EXPECT_EQ(m_card.mechanism, CKM_ECDSA);
}

TEST_F(QELTokenSessionSigning, ADigestOfEcdsaThatIsNotTheDataAnyMoreIsNotEncoded) {
  NSData *signature = Sign(Data(Bytes(32, 0x44)),
                           Algorithm({kSecKeyAlgorithmECDSASignatureDigestX962, kSecKeyAlgorithmECDSASignatureRFC4754}),
                           nullptr, EcKey());
  EXPECT_EQ(BytesOf(signature), m_card.signature);
}

TEST_F(QELTokenSessionSigning, TheMethodThatRemovesThePaddingGivesTheOffsetOrTheReason) {
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Block()], 5);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Data({0x00, 0x01, 0x00})], 3);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Data({0x01, 0x01, 0xFF, 0x00})], -1);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:[NSData data]], -1);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Data({0x00, 0x02, 0xFF, 0x00})], -2);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Data({0x00, 0x01, 0xFF, 0xFE, 0x00})], -3);
  EXPECT_EQ([m_session removePKCS1PaddingFromData:Data({0x00, 0x01, 0xFF, 0xFF})], -4);
}

TEST_F(QELTokenSessionSigning, ASignatureMayBeChangedByItsReceiver) {
  EXPECT_TRUE([Sign(Block(), RawRsa()) isKindOfClass:[NSMutableData class]]);
  EXPECT_TRUE([Sign(Data(Bytes(32, 0x44)), Ecdsa(), nullptr, EcKey()) isKindOfClass:[NSMutableData class]]);
}

TEST_F(QELTokenSessionSigning, TheLargestAnnouncedLengthOfAllIsUsable) {
  m_card.announcedLength["C_Sign"] = 64UL * 1024 * 1024;
  EXPECT_EQ([Sign(Block(), RawRsa()) length], 64UL * 1024 * 1024);
}

#pragma mark - Failures

TEST_F(QELTokenSessionSigning, ALoggedOutUserGetsAuthenticationNeededAndNoFurtherCall) {
  ExpectAuthenticationNeeded([&](NSError **error) { return Sign(Block(), RawRsa(), error); });
}

TEST_F(QELTokenSessionSigning, FailuresBeforeTheKeyIsFoundBecomeErrorsOfTheExtension) {
  ExpectFailuresBeforeTheKeyIsFound([&](NSError **error) { return Sign(Block(), RawRsa(), error); });
}

TEST_F(QELTokenSessionSigning, EveryFailedCallIsLoggedAndMappedAndEndsTheSignature) {
  ExpectEachFailureMapped({{"C_SignInit"}, {"C_Sign", CKR_OK, Length(4)}, {"C_Sign"}},
                          [&](NSError **error) { return Sign(Block(), RawRsa(), error); });
}

TEST_F(QELTokenSessionSigningOnPinPad, AWrongPinAndACancelledEntryAreReportedAndTheDialogIsHidden) {
  for (const auto &[rv, code] : {std::pair{CKR_PIN_INCORRECT, -8}, {CKR_FUNCTION_CANCELED, -4}}) {
    ScriptedCard script(AfterFindingTheKey(
        {{"C_SignInit"}, {"C_Sign", CKR_OK, Length(4)}, {"C_GetSlotType"}, {"C_Sign", static_cast<CK_RV>(rv)}}));
    NSError *error = nil;
    EXPECT_EQ(Sign(Block(), RawRsa(), &error), nil);
    EXPECT_TRUE(IsErrorOf(code, error));
    EXPECT_EQ(script.Calls().back(), "dialog hide");
  }
}

TEST_F(QELTokenSessionSigningOnPinPad, NoDialogIsShownForAFailedSizeQuery) {
  m_card.Fail("C_Sign", CKR_PIN_INCORRECT);
  EXPECT_EQ(Sign(Block(), RawRsa()), nil);
  EXPECT_EQ(m_dialog.Calls(), Texts{});
}

TEST_F(QELTokenSessionSigningOnPinPad, ForeignExceptionsPassAndTheDialogIsHidden) {
  ExpectForeignExceptionsToPass(
      AfterFindingTheKey({{"C_SignInit"}, {"C_Sign", CKR_OK, Length(4)}, {"C_GetSlotType"}, {"C_Sign"}}),
      [&](NSError **error) { Sign(Block(), RawRsa(), error); });
}

TEST_F(QELTokenSessionSigning, AKeyOfASecondSlotThatTheTokenDoesNotHaveRaises) {
  NSError *error = UntouchedError();
  NSException *raised = CatchNSException([&] { Sign(Block(), RawRsa(), &error, LaterRsaKey()); });
  EXPECT_STREQ([[raised name] UTF8String], [NSRangeException UTF8String]);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_card.Calls(), Texts{});
}
