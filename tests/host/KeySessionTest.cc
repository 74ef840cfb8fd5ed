#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "tests/host/FakeCard.h"

namespace {

using Names = std::vector<std::string>;

constexpr char kNeedsLogin[] = "error CryptoTokenKit -9";

void ExpectOneLine(const ChildResult& result, const std::string& line) {
  EXPECT_EQ(result.errors, line + "\n");
}

TEST(KeySession, AsksInThePlatformsOrderAndSignsAgainAfterTheLogin) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin, "ok"});
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(card.Text("out"), "result");
  EXPECT_EQ(card.Calls(), (Names{"hello", "createToken", "createSession", "supportsOperation", "supportsOperation",
                                 "supportsOperation", "supportsOperation", "signData", "beginAuth", "finishAuth",
                                 "signData", "terminateToken", "left"}));
}

TEST(KeySession, HandsOverTheConstraintOfTheOperation) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin, "ok"});
  card.Sign();
  EXPECT_EQ(card.CallLine("beginAuth"), R"(beginAuth {"constraint":"PINAlways","operation":2,"session":8} 0)");
  EXPECT_EQ(card.CallLine("finishAuth"), R"(finishAuth {"auth":9,"hasPIN":true} 4)");
}

TEST(KeySession, PassesThePaddedBlockOfTheWholeKeyLength) {
  const FakeCard card;
  card.Sign();
  EXPECT_TRUE(card.CallLine("signData").find("} 256") != std::string::npos) << card.CallLine("signData");
}

TEST(KeySession, NeedsNoPinWhenTheOperationSucceedsAtOnce) {
  const FakeCard card;
  card.Write("pin", "wrong");
  EXPECT_EQ(card.Sign().exitStatus, 0);
  EXPECT_EQ(card.CallLine("beginAuth"), "");
}

TEST(KeySession, SetsNoPinForAnAuthenticationThatWantsNone) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin, "ok"});
  card.Script("beginAuth", {"kind none"});
  EXPECT_EQ(card.Sign().exitStatus, 0);
  EXPECT_EQ(card.CallLine("finishAuth"), R"(finishAuth {"auth":9,"hasPIN":false} 0)");
}

TEST(KeySession, GivesUpAfterTwentyLogins) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, 1);
  const Names calls = card.Calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "signData"), 20);
  ExpectOneLine(
      result, "ctkhost: signing still needs authentication after 20 logins (TKErrorDomain -9); insert the card again");
}

TEST(KeySession, WrongPinIsStatusFiveAndSaysHowManyTriesAreLeft) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  card.Write("pin", "4321\n");
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, 5);
  ExpectOneLine(result, "ctkhost: login failed: wrong PIN (TKErrorDomain -8, bad parameter); tries left: 2");
  EXPECT_FALSE(card.Has("out"));
}

struct Refusal {
  const char* call;
  const char* instruction;
  int status;
  const char* line;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.call << " " << refusal.instruction;
}

class Refusals : public ::testing::TestWithParam<Refusal> {};

TEST_P(Refusals, EndWithTheirStatusOneLineAndNoFile) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin, "ok"});
  card.Script(GetParam().call, {GetParam().instruction});
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, GetParam().status);
  ExpectOneLine(result, std::string("ctkhost: ") + GetParam().line);
  EXPECT_FALSE(card.Has("out"));
}

const Refusal kRefusals[] = {
    {"finishAuth", "none", 5,
     "login failed: the card refused the PIN without a reason (no error object); tries left: 2"},
    {"finishAuth", "error CryptoTokenKit -4", 6,
     "login failed (TKErrorDomain -4, cancelled by user); run the command again"},
    {"finishAuth", "error QELException -1", 1,
     "login failed (QELException -1, made up); the token log has the card's answer"},
    {"beginAuth", "none", 1, "login failed (no error object); the token log has the card's answer"},
    {"signData", "error CryptoTokenKit -4", 6,
     "signing failed (TKErrorDomain -4, cancelled by user); run the command again"},
    {"signData", "error CryptoTokenKit -8", 5,
     "signing failed (TKErrorDomain -8, bad parameter); the PIN was wrong: run the command again with the right one"},
    {"signData", "error QELToken -7", 1, "signing failed (QELToken -7, made up); the token log has the card's answer"},
    {"signData", "none", 1, "signing failed (no error object); the token log has the card's answer"},
    {"supportsOperation", "no", 4,
     "signing with algid:sign:RSA:message-PKCS1v15:SHA256 is not supported by key 12a1; 'ctkhost list' shows what it "
     "can do"},
    {"createSession", "none", 1, "the card gave no session (no error object); insert it again"},
    {"createToken", "error QELToken -3", 3,
     "no token for the card in reader \"Test Reader\" (QELToken -3, made up); is it a card of this maker?"},
};

INSTANTIATE_TEST_SUITE_P(KeySession, Refusals, ::testing::ValuesIn(kRefusals));

TEST(KeySession, RefusesAKeyWhoseConstraintForbidsTheOperation) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  const ChildResult result = card.Sign("unguarded");
  EXPECT_EQ(result.exitStatus, 4);
  ExpectOneLine(result, "ctkhost: signing needs a login that key 12a4 does not offer; use another key");
  EXPECT_EQ(card.CallLine("beginAuth"), "");
}

}  // namespace
