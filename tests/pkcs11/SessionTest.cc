#include "pkcs11/Session.h"

#include "tests/pkcs11/CardTest.h"

using namespace TestCard;

class SessionTest : public CardTest {};

TEST_F(SessionTest, OpensAReadWriteSerialSession) {
  ScriptedCard card({{"C_OpenSession", CKR_OK, Handle(17)}});
  EXPECT_EQ(PKCS11::OpenSession(9), 17u);
  EXPECT_EQ(card.Calls(), Texts{"C_OpenSession slot=9 flags=0x6"});
}

TEST_F(SessionTest, GivesNeitherAnApplicationNorANotificationToASession) {
  ScriptedCard card({{"C_OpenSession", CKR_OK, [](Call& call) { EXPECT_FALSE(call.notifies); }}});
  PKCS11::OpenSession(9);
}

TEST_F(SessionTest, ARefusedSessionIsLoggedAndThrown) {
  ScriptedCard card({{"C_OpenSession", CKR_SESSION_COUNT}});
  EXPECT_TRUE(IsFailure(CatchTokenException([] { PKCS11::OpenSession(9); }), -5, "Opening PKCS11 session failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_OpenSession() => 0x000000B1"}}));
}

TEST_F(SessionTest, AFailureToCloseASessionIsLoggedAtErrorLevelOnly) {
  ScriptedCard card({{"C_CloseSession", CKR_DEVICE_REMOVED}});
  PKCS11::CloseSession(17);
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_CloseSession() => 0x00000032"}}));
}

TEST_F(SessionTest, AFailureToCloseAllSessionsIsLoggedAtInfoLevelOnly) {
  ScriptedCard card({{"C_CloseAllSessions", CKR_SLOT_ID_INVALID}});
  PKCS11::CloseAllSessions(9);
  EXPECT_EQ(m_log.Lines(), (LogLines{{kInfo, "C_CloseAllSessions() => 0x00000003"}}));
}

TEST_F(SessionTest, OnlyTheTwoUserStatesAreALogin) {
  const std::vector<std::pair<CK_STATE, bool>> rows = {{CKS_RO_PUBLIC_SESSION, false},
                                                       {CKS_RO_USER_FUNCTIONS, true},
                                                       {CKS_RW_PUBLIC_SESSION, false},
                                                       {CKS_RW_USER_FUNCTIONS, true},
                                                       {CKS_RW_SO_FUNCTIONS, false},
                                                       {5, false},
                                                       {7, false},
                                                       {0x101, false},
                                                       {0x80000001, false},
                                                       {0x100000001, false},
                                                       {0x100000003, false},
                                                       {~CK_STATE{0}, false}};
  for (const auto& [state, loggedIn] : rows) {
    ScriptedCard card({{"C_GetSessionInfo", CKR_OK, State(state)}});
    EXPECT_EQ(PKCS11::IsUserLoggedIn(17), loggedIn) << state;
  }
}

TEST_F(SessionTest, ASessionThatTheLibraryDoesNotKnowIsInvalid) {
  ScriptedCard card({{"C_GetSessionInfo", CKR_SESSION_HANDLE_INVALID}});
  EXPECT_TRUE(IsFailure(CatchTokenException([] { PKCS11::IsUserLoggedIn(17); }), -8, "Session is invalid"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetSessionInfo() => 0x000000B3"}}));
}
