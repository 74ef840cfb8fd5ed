#import "tests/token/SessionTest.h"
#import "token/PerformLogin.h"

using TestCard::ScriptedCard;

class PinPadLogin : public PinPadTest {
 protected:
  PinPadLogin() {
    m_card.LogOut();
    m_operation = Begun<QELPINPadAuthOperation>(m_session);
  }

  bool Login(NSError **error = nullptr) { return [m_operation finishWithError:error] != NO; }

  QELPINPadAuthOperation *m_operation;
};

TEST_F(PinPadLogin, OperationAsksForNoPinOnTheComputer) {
  EXPECT_EQ([m_operation session], m_session);
  EXPECT_FALSE([m_operation isKindOfClass:[TKTokenSmartCardPINAuthOperation class]]);
  EXPECT_EQ(m_log.Infos(), Texts{"Pin pad reader ready to auth"});
}

TEST_F(PinPadLogin, NeitherOperationNorConstraintNorTheNamedSessionIsLookedAt) {
  ExpectOperationWhateverIsAsked<QELPINPadAuthOperation>();
}

TEST_F(PinPadLogin, OperationKeepsItsSessionAlive) {
  ExpectOperationToKeepItsSession<QELPINPadAuthOperation>();
}

TEST_F(PinPadLogin, SendsNoPinAndShowsTheDialogAroundTheLogin) {
  EXPECT_TRUE(Login());
  EXPECT_EQ(m_card.Calls(),
            (Texts{"C_GetSlotType slot=7", "dialog show 8", "C_Login session=101 user=1 pin=none", "dialog hide"}));
  EXPECT_EQ(m_card.pinWasNull, std::vector<bool>{true});
  EXPECT_EQ(m_card.pins, std::vector<Bytes>{Bytes{}});
  EXPECT_EQ(m_log.Infos(), (Texts{"Pin pad reader ready to auth", "C_Login rv = 0"}));
  EXPECT_EQ(m_systemLog.Texts(), Texts{});
  EXPECT_TRUE([[m_session smartCard] sensitive]);
  EXPECT_EQ([[m_session smartCard] context], [NSNumber numberWithBool:YES]);
}

TEST_F(PinPadLogin, APinGivenAllTheSameIsSentUnderTheDialog) {
  EXPECT_TRUE(performLogin(m_session, @"1234", nullptr));
  EXPECT_EQ(m_card.pins, std::vector<Bytes>{TestCard::Text("1234")});
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 8", "hide"}));
}

TEST_F(PinPadLogin, SlotTypesChooseTheDialog) {
  for (const auto &[slotType, shown] : {std::pair{0x80000002UL, "show 8"},
                                        {0x80000003UL, "show 32"},
                                        {0x80000001UL, "show 1"},
                                        {0x80000004UL, "show 1"},
                                        {0UL, "show 1"},
                                        {2UL, "show 1"},
                                        {3UL, "show 1"},
                                        {0x180000002UL, "show 1"},
                                        {0xFFFFFFFF80000003UL, "show 1"}}) {
    const DialogRecorder dialog;
    m_card.Slots().front().slotType = slotType;
    Login();
    EXPECT_EQ(dialog.Calls(), (Texts{shown, "hide"}));
  }
}

TEST_F(PinPadLogin, AFailingSlotTypeIsThePlainDialog) {
  m_card.Fail("C_GetSlotType", CKR_FUNCTION_NOT_SUPPORTED);
  EXPECT_TRUE(Login());
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 1", "hide"}));
}

TEST_F(PinPadLogin, WhatAFailedSlotTypeWroteIsNotBelieved) {
  const auto write = [](TestCard::Call &call) { *static_cast<CK_ULONG *>(call.output) = 0x80000003; };
  ScriptedCard script({{"C_GetSlotType", CKR_FUNCTION_FAILED, write}, {"C_Login"}});
  EXPECT_TRUE([m_operation finishWithError:nullptr]);
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 1", "hide"}));
}

TEST_F(PinPadLogin, TheDialogIsHiddenAfterEveryFailure) {
  for (const CardResult &result : kCardResults) {
    ScriptedCard script({{"C_GetSlotType"}, {"C_Login", result.rv}});
    NSError *error = UntouchedError();
    EXPECT_FALSE(Login(&error));
    EXPECT_TRUE(IsErrorOf(result.code, error));
    EXPECT_EQ(script.Calls().back(), "dialog hide");
    EXPECT_FALSE(m_dialog.IsVisible());
  }
}

TEST_F(PinPadLogin, ExceptionsPassAndTheDialogIsHidden) {
  const auto login = [&](NSError **error) { Login(error); };
  ExpectForeignExceptionsToPass({{"C_GetSlotType"}, {"C_Login"}}, login);
  ExpectForeignExceptionsToPass({{"C_GetSlotType"}}, login);  // hiding is harmless when it is not shown yet
}

struct LoginResult {
  CK_RV rv;
  bool success;
};

TEST_F(PinPadLogin, OnlyTwoResultsAreALogin) {
  for (const auto &[rv, success] : {LoginResult{CKR_OK, true},
                                    {CKR_USER_ALREADY_LOGGED_IN, true},
                                    {CKR_CANCEL, false},
                                    {CKR_PIN_EXPIRED, false},
                                    {CKR_USER_ANOTHER_ALREADY_LOGGED_IN, false},
                                    {CKR_VENDOR_DEFINED | 0x100, false}}) {
    ScriptedCard script({{"C_GetSlotType"}, {"C_Login", rv}});
    [[m_session smartCard] setSensitive:NO];
    [[m_session smartCard] setContext:nil];
    EXPECT_EQ(Login(), success) << rv;
    EXPECT_EQ([[m_session smartCard] sensitive] != NO, success) << rv;
    EXPECT_EQ([[m_session smartCard] context], success ? [NSNumber numberWithBool:YES] : nil) << rv;
    EXPECT_EQ(m_log.Infos().back(), "C_Login rv = " + std::to_string(rv));
  }
}

class LoginOnTwoPinPads : public TwoPinPadsTest {};

TEST_F(LoginOnTwoPinPads, ShowsTheDialogOfTheCurrentPairsSlot) {
  m_card.LogOut();
  [m_session selectPairByKeyID:LaterRsaKey()];
  EXPECT_TRUE(performLogin(m_session, nil, nullptr));
  EXPECT_EQ(m_card.Calls(),
            (Texts{"C_GetSlotType slot=8", "dialog show 32", "C_Login session=102 user=1 pin=none", "dialog hide"}));
}
