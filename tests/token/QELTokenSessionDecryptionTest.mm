#import "tests/token/SessionTest.h"

using TestCard::Call;
using TestCard::Length;
using TestCard::ScriptedCard;

class QELTokenSessionDecryption : public SessionTest {};
class QELTokenSessionDecryptionOnPinPad : public PinPadTest {};
class QELTokenSessionDecryptionOnTwoPinPads : public TwoPinPadsTest {};

TEST_F(QELTokenSessionDecryption, CallsTheCardInExactlyThisOrder) {
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext())), m_card.plaintext);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_DecryptInit session=101 object=3 mechanism=0x1 parameter=0",
                                       "C_Decrypt session=101 output=?", "C_Decrypt session=101 output=buffer"}));
  EXPECT_EQ(m_log.Lines().size(), 0u);
  EXPECT_EQ(m_systemLog.Texts(), Texts{});
}

TEST_F(QELTokenSessionDecryptionOnPinPad, ShowsTheDialogAroundTheSecondCallOnly) {
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext())), m_card.plaintext);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("101", {"C_DecryptInit session=101 object=3 mechanism=0x1 parameter=0",
                                       "C_Decrypt session=101 output=?", "C_GetSlotType slot=7", "dialog show 8",
                                       "C_Decrypt session=101 output=buffer", "dialog hide"}));
}

TEST_F(QELTokenSessionDecryptionOnTwoPinPads, WorksInTheSessionThatTheKeysPrefixNamesUnderThatSlotsDialog) {
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext(), nullptr, LaterRsaKey())), m_card.plaintext);
  EXPECT_EQ(m_card.Calls(),
            AfterFindingTheKey("102", {"C_DecryptInit session=102 object=3 mechanism=0x1 parameter=0",
                                       "C_Decrypt session=102 output=?", "C_GetSlotType slot=8", "dialog show 32",
                                       "C_Decrypt session=102 output=buffer", "dialog hide"}));
}

TEST_F(QELTokenSessionDecryption, PlaintextTakesTheLengthOfTheSecondCall) {
  m_card.announcedLength["C_Decrypt"] = 256;
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext())), Bytes(32, 0x11));
}

TEST_F(QELTokenSessionDecryption, BothCallsGetTheWholeCiphertext) {
  std::vector<Bytes> inputs;
  const auto keep = [&](Call &call) {
    inputs.emplace_back(call.input, call.input + call.inputLength);
    *call.outputLength = 4;
  };
  ScriptedCard script(
      AfterFindingTheKey({{"C_DecryptInit"}, {"C_Decrypt", CKR_OK, keep}, {"C_Decrypt", CKR_OK, keep}}));
  Decrypt(Ciphertext());
  EXPECT_EQ(inputs, (std::vector<Bytes>{Bytes(256, 0xC1), Bytes(256, 0xC1)}));
}

TEST_F(QELTokenSessionDecryption, TheSecondCallIsToldTheLengthThatTheFirstAnnounced) {
  CK_ULONG told = 0;
  const auto keep = [&](Call &call) { told = *call.outputLength; };
  ScriptedCard script(
      AfterFindingTheKey({{"C_DecryptInit"}, {"C_Decrypt", CKR_OK, Length(70)}, {"C_Decrypt", CKR_OK, keep}}));
  EXPECT_EQ([Decrypt(Ciphertext()) length], 70u);
  EXPECT_EQ(told, 70u);
}

TEST_F(QELTokenSessionDecryption, AnEmptyCiphertextHasBytesToPointToAndLeavesNoOperationOpen) {
  for (int i = 0; i < 2; ++i) EXPECT_NE(Decrypt([NSData data]), nil);
  EXPECT_EQ(m_card.ciphertext, Bytes{});
}

TEST_F(QELTokenSessionDecryption, UsesPkcs1WhateverTheAlgorithmSays) {
  for (const SecKeyAlgorithm algorithm : {kSecKeyAlgorithmRSAEncryptionOAEPSHA256, kSecKeyAlgorithmRSAEncryptionRaw,
                                          kSecKeyAlgorithmECDSASignatureDigestX962}) {
    m_card.mechanism = CKM_RSA_X_509;
    EXPECT_NE([m_session tokenSession:m_session
                          decryptData:Ciphertext()
                             usingKey:RsaKey()
                            algorithm:Algorithm({algorithm})
                                error:nullptr],
              nil);
    EXPECT_EQ(m_card.mechanism, CKM_RSA_PKCS);
    EXPECT_EQ(m_card.mechanismParameter, Bytes{});
  }
}

TEST_F(QELTokenSessionDecryption, AnEmptyPlaintextIsEmptyDataAndNoSizeQuery) {
  m_card.plaintext = {};
  NSData *plaintext = Decrypt(Ciphertext());
  ASSERT_NE(plaintext, nil);
  EXPECT_EQ([plaintext length], 0u);
  EXPECT_EQ(m_card.Calls().back(), "C_Decrypt session=101 output=buffer");
}

TEST_F(QELTokenSessionDecryption, AnEmptyPlaintextAfterAnAnnouncementOfMoreIsEmpty) {
  m_card.plaintext = {};
  m_card.announcedLength["C_Decrypt"] = 256;
  NSData *plaintext = Decrypt(Ciphertext());
  ASSERT_NE(plaintext, nil);
  EXPECT_EQ([plaintext length], 0u);
}

TEST_F(QELTokenSessionDecryption, ThePlaintextMayBeChangedByItsReceiver) {
  EXPECT_TRUE([Decrypt(Ciphertext()) isKindOfClass:[NSMutableData class]]);
}

TEST_F(QELTokenSessionDecryption, TheLargestAnnouncedLengthOfAllIsUsable) {
  m_card.announcedLength["C_Decrypt"] = 64UL * 1024 * 1024;
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext())), m_card.plaintext);
  m_card.LogIn();
  m_card.announcedLength["C_Decrypt"] = 64UL * 1024 * 1024 + 1;
  EXPECT_EQ(Decrypt(Ciphertext()), nil);
}

TEST_F(QELTokenSessionDecryption, MoreBytesThanTheBufferHoldsAreNotBelieved) {
  ScriptedCard script(
      AfterFindingTheKey({{"C_DecryptInit"}, {"C_Decrypt", CKR_OK, Length(4)}, {"C_Decrypt", CKR_OK, Length(5)}}));
  EXPECT_EQ(BytesOf(Decrypt(Ciphertext())), Bytes(4, 0x00));
}

TEST_F(QELTokenSessionDecryption, AnAnnouncedLengthThatIsNoneEndsTheDecryptionWithALogLine) {
  m_card.announcedLength["C_Decrypt"] = CK_UNAVAILABLE_INFORMATION;
  NSError *error = UntouchedError();
  EXPECT_EQ(Decrypt(Ciphertext(), &error), nil);
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Errors(), Texts{"C_Decrypt() announces no usable length"});
}

#pragma mark - Failures

TEST_F(QELTokenSessionDecryption, ALoggedOutUserGetsAuthenticationNeededAndNoFurtherCall) {
  ExpectAuthenticationNeeded([&](NSError **error) { return Decrypt(Ciphertext(), error); });
}

TEST_F(QELTokenSessionDecryption, FailuresBeforeTheKeyIsFoundBecomeErrorsOfTheExtension) {
  ExpectFailuresBeforeTheKeyIsFound([&](NSError **error) { return Decrypt(Ciphertext(), error); });
}

TEST_F(QELTokenSessionDecryption, EveryFailedCallIsLoggedAndMappedAndEndsTheDecryption) {
  ExpectEachFailureMapped({{"C_DecryptInit"}, {"C_Decrypt", CKR_OK, Length(4)}, {"C_Decrypt"}},
                          [&](NSError **error) { return Decrypt(Ciphertext(), error); });
}

TEST_F(QELTokenSessionDecryptionOnPinPad, TheDialogIsHiddenWhenTheEntryIsCancelled) {
  m_card.Fail("C_Decrypt", CKR_FUNCTION_CANCELED, 2);
  NSError *error = nil;
  EXPECT_EQ(Decrypt(Ciphertext(), &error), nil);
  EXPECT_TRUE(IsErrorOf(TKErrorCodeCanceledByUser, error));
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 8", "hide"}));
}

TEST_F(QELTokenSessionDecryptionOnPinPad, ForeignExceptionsPassAndTheDialogIsHidden) {
  ExpectForeignExceptionsToPass(
      AfterFindingTheKey({{"C_DecryptInit"}, {"C_Decrypt", CKR_OK, Length(4)}, {"C_GetSlotType"}, {"C_Decrypt"}}),
      [&](NSError **error) { Decrypt(Ciphertext(), error); });
}
