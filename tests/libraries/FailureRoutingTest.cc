#include <filesystem>

#include "tests/libraries/ProbeTest.h"

/// Where the message of a failed construction goes. With logging on, the token log is the file in the home.
class FailureRoutingTest : public ProbeTest {
 protected:
  static Texts FailingToken(const std::string& action) { return {"fail", "C_OpenSession", "0xB1", action}; }

  void SwitchTokenLogOn() const { m_home.WriteSettings("[Pkcs11]\nLogLevelPkcs11 = 4\n"); }

  /// The lines that begin with `start`.
  static Texts Only(const std::string& start, const Texts& lines) {
    Texts kept;
    for (const std::string& line : lines) {
      if (line.rfind(start, 0) == 0) kept.push_back(line);
    }
    return kept;
  }

  /// The token log's messages that contain `part`, from their level on: time and process differ each time.
  Texts TokenLogWith(const std::string& part) const {
    Texts messages;
    for (const std::string& line : LinesOf(m_home.TokenLog())) {
      const size_t processEnd = line.find("] ");
      if (line.find(part) == std::string::npos) continue;
      messages.push_back(processEnd == std::string::npos ? line : line.substr(processEnd + 2));
    }
    return messages;
  }
};

namespace {

const char kSystemLogLine[] = "system log error: Opening PKCS11 session failed";
const char kTokenLogLine[] = "ERROR QELToken - Failed to initialize smartcard: Opening PKCS11 session failed";
const char kNoToken[] = "no token: QELToken -5 Opening PKCS11 session failed";

}  // namespace

TEST_F(FailureRoutingTest, TheTokenThatStartedTheTokenLogFailsIntoIt) {
  SwitchTokenLogOn();
  const Texts lines = Run("complete", FailingToken("token"));
  EXPECT_EQ(Only("system log", lines), Texts{});
  EXPECT_EQ(Only("no token", lines), Texts{kNoToken});
  EXPECT_EQ(TokenLogWith("Failed to initialize"), Texts{kTokenLogLine});
}

TEST_F(FailureRoutingTest, OnlyTheFirstTokenOfTheProcessStartsTheTokenLog) {
  SwitchTokenLogOn();
  const Texts failing = FailingToken("token");
  Texts actions = {"token", "token", "keep"};
  EXPECT_EQ(Only("token log", Run("complete", actions)), Texts{"token log started"});
  actions.insert(actions.begin(), failing.begin(), failing.end());
  EXPECT_EQ(Only("token log", Run("complete", actions)), Texts{"token log started"}) << "also when it fails";
}

TEST_F(FailureRoutingTest, EveryLaterTokenFailsIntoTheSystemLog) {
  SwitchTokenLogOn();
  Texts actions = FailingToken("token");
  actions.insert(actions.begin(), {"token", "token"});
  const Texts lines = Run("complete", actions);
  EXPECT_EQ(Only("system log", lines), Texts{kSystemLogLine});
  EXPECT_EQ(Only("no token", lines), Texts{kNoToken});
  EXPECT_EQ(TokenLogWith("Failed to initialize"), Texts{});
  EXPECT_EQ(TokenLogWith("C_OpenSession()"), Texts{"ERROR QELToken - C_OpenSession() => 0x000000B1"});
}

TEST_F(FailureRoutingTest, WithLoggingOffTheFirstTokenFailsIntoTheSystemLog) {
  const Texts lines = Run("complete", FailingToken("token"));
  EXPECT_EQ(Only("system log", lines), Texts{kSystemLogLine});
  EXPECT_EQ(m_home.TokenLog(), "");
}

TEST_F(FailureRoutingTest, ASystemLogThatTakesNoErrorsGetsNone) {
  Texts actions = FailingToken("token");
  actions.insert(actions.begin(), "no-errors");
  const Texts lines = Run("complete", actions);
  EXPECT_EQ(Only("system log", lines), Texts{});
  EXPECT_EQ(Only("no token", lines), Texts{kNoToken});
}

TEST_F(FailureRoutingTest, WithoutAnErrorOutPointerNothingIsWrittenAnywhere) {
  const Texts lines = Run("complete", FailingToken("quietly"));
  EXPECT_EQ(Only("system log", lines), Texts{});
  EXPECT_EQ(Only("no token", lines), Texts{"no token"});
}

TEST_F(FailureRoutingTest, WithoutAnErrorOutPointerTheTokenLogGetsNoFailureMessageEither) {
  SwitchTokenLogOn();
  const Texts lines = Run("complete", FailingToken("quietly"));
  EXPECT_EQ(Only("system log", lines), Texts{});
  EXPECT_EQ(TokenLogWith("Failed to initialize"), Texts{});
  EXPECT_EQ(TokenLogWith("C_OpenSession()"), Texts{"ERROR QELToken - C_OpenSession() => 0x000000B1"});
}

TEST_F(FailureRoutingTest, UnreadableTokenInformationIsRefusedWithoutAnErrorAndWithTwoInfoLinesOnly) {
  SwitchTokenLogOn();
  const Texts lines = Run("complete", {"fail", "C_GetTokenInfo", "0xE1", "token"});
  EXPECT_EQ(Only("system log", lines), Texts{});
  EXPECT_EQ(Only("no token", lines), Texts{"no token"});
  EXPECT_EQ(TokenLogWith("TokenInfo"),
            (Texts{"INFO  QELToken - C_GetTokenInfo() => 0x000000E1",
                   "INFO  QELToken - Error while getting TokenInfo, probably unsupported smart card type."}));
  EXPECT_EQ(TokenLogWith("Failed to initialize"), Texts{});
}

TEST_F(FailureRoutingTest, ALogFileInTheSettingsDoesNotMoveTheTokenLog) {
  const std::string elsewhere = m_home.Path() + "/elsewhere.log";
  m_home.WriteSettings("[Pkcs11]\nLogLevelPkcs11 = 4\n[Global]\nLogFile = " + elsewhere + "\n");
  Run("complete", {"token"});
  EXPECT_NE(m_home.TokenLog(), "");
  EXPECT_FALSE(std::filesystem::exists(elsewhere));
}
