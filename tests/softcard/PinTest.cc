#include <future>
#include <set>
#include <thread>

#include "softcard/state/PinPad.h"
#include "softcard/state/Tries.h"
#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr CK_FLAGS kCounterFlags = CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED;

using SoftCardPin = SoftCardFixture;

TEST_F(SoftCardPin, ThreeWrongPinsLockTheCardAndTheFlagsSayHowFarItIs) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  struct Row {
    const char* pin;
    CK_RV result;
    CK_FLAGS flags;
  };
  const Row rows[] = {
      {"wrong1", CKR_PIN_INCORRECT, CKF_USER_PIN_COUNT_LOW},
      {"wrong2", CKR_PIN_INCORRECT, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY},
      {"wrong3", CKR_PIN_INCORRECT, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_LOCKED},
      {kPin, CKR_PIN_LOCKED, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_LOCKED},
      {"wrong4", CKR_PIN_LOCKED, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_LOCKED},
  };
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
  for (const auto& row : rows) {
    EXPECT_CKR(row.result, Login(session, row.pin)) << row.pin;
    EXPECT_EQ(Hex(TokenInfo().flags & kCounterFlags), Hex(row.flags)) << row.pin;
  }
}

TEST_F(SoftCardPin, TheRightPinGivesTheTriesBack) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  EXPECT_CKR(CKR_PIN_INCORRECT, Login(session, "wrong"));
  EXPECT_CKR(CKR_PIN_INCORRECT, Login(session, "wrong"));
  EXPECT_CKR(CKR_OK, Login(session, kPin));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
}

TEST_F(SoftCardPin, ASecondLoginIsRefusedWhateverThePinAndCostsNoTry) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  ASSERT_CKR(CKR_OK, Login(session, kPin));
  EXPECT_CKR(CKR_USER_ALREADY_LOGGED_IN, Login(session, kPin));
  EXPECT_CKR(CKR_USER_ALREADY_LOGGED_IN, Login(session, "wrong"));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
}

TEST_F(SoftCardPin, NobodyLooksAtATokenWhileAnotherProcessLogsIn) {
  MakeAndInsert({"demo"});
  Library();
  FileLock login(LiveDirectory(m_directory) / "lock");
  login.Take();
  std::future<CK_TOKEN_INFO> looks[] = {std::async(std::launch::async, [&] { return TokenInfo(); }),
                                        std::async(std::launch::async, [&] { return TokenInfo(); })};
  for (auto& look : looks) EXPECT_EQ(look.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  login.Release();
  for (auto& look : looks) EXPECT_EQ(Unpadded(look.get().label), "demo");
}

TEST_F(SoftCardPin, AStateThatMayNotBeChangedIsReadWithoutTheLock) {
  MakeAndInsert({"demo"});
  std::filesystem::remove_all(LiveDirectory(m_directory));
  std::filesystem::create_symlink(m_directory / "nowhere", LiveDirectory(m_directory));
  EXPECT_EQ(Unpadded(TokenInfo().label), "demo");
}

TEST_F(SoftCardPin, TheCounterOutlivesTheProcessAndUnlockResetsIt) {
  MakeAndInsert({"demo"});
  for (int i = 0; i < 3; i++) EXPECT_CKR(CKR_PIN_INCORRECT, Login(Open(), "wrong"));
  Unload();
  EXPECT_CKR(CKR_PIN_LOCKED, Login(Open(), kPin));
  Unlock(m_directory, "demo");
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
  EXPECT_CKR(CKR_OK, Login(Open(), kPin));
}

TEST_F(SoftCardPin, EachTokenOfACardCountsItsOwnTries) {
  MakeAndInsert({"demo"}, {"p256"}, 2);
  EXPECT_CKR(CKR_PIN_INCORRECT, Login(Open(), "wrong"));
  CK_TOKEN_INFO second{};
  ASSERT_CKR(CKR_OK, Library()->C_GetTokenInfo(1, &second));
  EXPECT_EQ(second.flags & kCounterFlags, 0U);
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, CKF_USER_PIN_COUNT_LOW);
}

TEST_F(SoftCardPin, ChangingThePinWithAWrongOldOneCostsATry) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  ASSERT_CKR(CKR_OK, Login(session, kPin));
  std::string wrong = "wrong";
  std::string right = kPin;
  std::string fresh = "fresh-pin";
  const auto change = [&](std::string& from) {
    return Library()->C_SetPIN(session, reinterpret_cast<CK_UTF8CHAR*>(from.data()), from.size(),
                               reinterpret_cast<CK_UTF8CHAR*>(fresh.data()), fresh.size());
  };
  EXPECT_CKR(CKR_PIN_INCORRECT, change(wrong));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, CKF_USER_PIN_COUNT_LOW);
  EXPECT_CKR(CKR_OK, change(right));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
  ASSERT_CKR(CKR_OK, Library()->C_Logout(session));
  EXPECT_CKR(CKR_OK, Login(session, fresh));
}

/// A card with a PIN pad, and a login that waits at it.
class SoftCardPinPad : public SoftCardFixture {
 protected:
  void SetUp() override {
    MakeAndInsert({"pad", "", true, 0x80000002UL});
    m_session = Open();
  }
  std::future<CK_RV> StartLogin() {
    return std::async(std::launch::async, [this] { return Library()->C_Login(m_session, CKU_USER, nullptr, 0); });
  }
  CK_RV LoginAnsweredBy(const std::optional<std::string>& pin) {
    auto login = StartLogin();
    EXPECT_TRUE(AnswerPinPad(m_directory, "pad", pin ? &*pin : nullptr, kPatience));
    return login.get();
  }
  CK_SESSION_HANDLE m_session = CK_INVALID_HANDLE;
};

TEST_F(SoftCardPinPad, TheTokenSaysThatItHasAPathOfItsOwn) {
  EXPECT_NE(TokenInfo().flags & CKF_PROTECTED_AUTHENTICATION_PATH, 0U);
}

TEST_F(SoftCardPinPad, ThePinEnteredOutsideLogsIn) {
  EXPECT_CKR(CKR_OK, LoginAnsweredBy(kPin));
  CK_SESSION_INFO info{};
  ASSERT_CKR(CKR_OK, Library()->C_GetSessionInfo(m_session, &info));
  EXPECT_EQ(info.state, CKS_RW_USER_FUNCTIONS);
}

TEST_F(SoftCardPinPad, CancellingAnswersFunctionCanceledAndCostsNoTry) {
  EXPECT_CKR(CKR_FUNCTION_CANCELED, LoginAnsweredBy(std::nullopt));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, 0U);
}

TEST_F(SoftCardPinPad, AWrongPinCountsAsOnTheKeyboard) {
  EXPECT_CKR(CKR_PIN_INCORRECT, LoginAnsweredBy("wrong"));
  EXPECT_EQ(TokenInfo().flags & kCounterFlags, CKF_USER_PIN_COUNT_LOW);
}

TEST_F(SoftCardPinPad, ALockedOrLoggedInCardDoesNotAsk) {
  ASSERT_CKR(CKR_OK, Login(m_session, kPin));
  EXPECT_CKR(CKR_USER_ALREADY_LOGGED_IN, Library()->C_Login(m_session, CKU_USER, nullptr, 0));
  ASSERT_CKR(CKR_OK, Library()->C_Logout(m_session));
  Update(m_directory, [](State& state) { state.cards[0].tokens[0].triesLeft = 0; });
  EXPECT_CKR(CKR_PIN_LOCKED, Library()->C_Login(m_session, CKU_USER, nullptr, 0));
}

TEST_F(SoftCardPinPad, TakingTheCardOutEndsTheWaiting) {
  auto login = StartLogin();
  while (!std::filesystem::exists(LiveDirectory(m_directory) / "pinpad-pad"))
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  Remove(m_directory, kReaderName);
  EXPECT_CKR(CKR_DEVICE_REMOVED, login.get());
}

TEST_F(SoftCardPinPad, TwoWhoWaitAreAskedOneAfterTheOther) {
  const auto wait = [&] {
    return std::async(std::launch::async, [&] {
      return WaitForPinPad(m_directory, "pad", std::chrono::seconds(20), [] { return false; });
    });
  };
  auto one = wait(), other = wait();
  const auto isOver = [](const auto& login) {
    return login.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  };
  const std::string first = kPin, second = "other";
  ASSERT_TRUE(AnswerPinPad(m_directory, "pad", &first, kPatience));
  while (!isOver(one) && !isOver(other)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_NE(isOver(one), isOver(other));
  ASSERT_TRUE(AnswerPinPad(m_directory, "pad", &second, kPatience));
  EXPECT_EQ((std::set<std::string>{one.get().pin, other.get().pin}), (std::set<std::string>{kPin, "other"}));
}

TEST_F(SoftCardPinPad, NothingOfTheEntryStaysBehind) {
  ASSERT_CKR(CKR_OK, LoginAnsweredBy(kPin));
  EXPECT_FALSE(std::filesystem::exists(LiveDirectory(m_directory) / "pinpad-pad"));
  const std::string pin = kPin;
  EXPECT_FALSE(AnswerPinPad(m_directory, "pad", &pin, std::chrono::seconds(0)));
}

TEST(SoftCardPinPadPipe, AnEntryThatNobodyMakesEndsWithTheLimit) {
  const TemporaryDirectory directory;
  const auto answer = WaitForPinPad(directory.Path(), "pad", std::chrono::seconds(1), [] { return false; });
  EXPECT_EQ(answer.kind, PinPadAnswer::TimedOut);
}

}  // namespace
