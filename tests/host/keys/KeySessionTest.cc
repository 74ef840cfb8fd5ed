#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "softcard/state/State.h"
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
      result,
      "ctkhost: signing failed: the card still wants a login after 20 of them (TKErrorDomain -9); take it out, put it "
      "in and try again");
}

TEST(KeySession, WrongPinIsStatusFiveAndSaysHowManyTriesAreLeft) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  card.Write("pin", "4321\n");
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, 5);
  ExpectOneLine(result, "ctkhost: login failed: wrong PIN (TKErrorDomain -8); tries left: 2");
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
    {"finishAuth", "none", 5, "login failed: the card refused the PIN without a reason; tries left: 2"},
    {"finishAuth", "error CryptoTokenKit -4", 6, "login was cancelled (TKErrorDomain -4); try again"},
    {"finishAuth", "error QELException -1", 1,
     "login failed (QELException -1, made up); 'ctkhost log' has the card's answer"},
    {"beginAuth", "none", 1, "login failed without a reason; 'ctkhost log' has the card's answer"},
    {"signData", "error CryptoTokenKit -4", 6, "signing was cancelled (TKErrorDomain -4); try again"},
    {"signData", "error CryptoTokenKit -8", 5,
     "signing failed: wrong PIN (TKErrorDomain -8); try again with the right one"},
    {"signData", "error QELToken -7", 1, "signing failed (QELToken -7, made up); 'ctkhost log' has the card's answer"},
    {"signData", "none", 1, "signing failed without a reason; 'ctkhost log' has the card's answer"},
    {"supportsOperation", "no", 4,
     "key 12a1 (RSA-2048) cannot sign with rsa-pkcs1-sha256; RSA keys take rsa-..., EC keys ecdsa-..."},
    {"createSession", "none", 1, "the card cannot be opened (no error object); take it out and put it in again"},
    {"createToken", "error QELToken -1", 3,
     "the card in \"Test Reader\" cannot be used (QELToken -1, made up); the card's PKCS#11 library does not "
     "start: 'ctkhost support' shows what it says"},
    {"createToken", "error QELToken -4", 3,
     "the card in \"Test Reader\" cannot be used (QELToken -4, made up); the PKCS#11 library does not know this "
     "reader: "
     "plug it in again"},
    {"createToken", "error QELToken -6", 3,
     "the card in \"Test Reader\" cannot be used (QELToken -6, made up); is it a card of this maker, put in the right "
     "way? 'ctkhost log' tells more"},
    {"createToken", "none", 3,
     "the card in \"Test Reader\" cannot be used (no error object); is it a card of this maker, put in the right way? "
     "'ctkhost log' tells more"},
};

INSTANTIATE_TEST_SUITE_P(KeySession, Refusals, ::testing::ValuesIn(kRefusals));

TEST(KeySession, SaysOfADecryptionWhatMayHaveBeenWrong) {
  const FakeCard card;
  card.Script("decryptData", {"none"});
  const ChildResult result =
      card.Host({"decrypt", "--key", "first", "--in", card.Path("message"), "--out", card.Path("out")});
  EXPECT_EQ(result.exitStatus, 1);
  ExpectOneLine(result,
                "ctkhost: decryption failed without a reason; was it encrypted for this key, with RSA PKCS#1 v1.5? "
                "'ctkhost log' has the card's answer");
}

TEST(KeySession, SaysOfACardWhoseTriesAreNotKnownWhatMayBe) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  SoftCard::Update(card.Path("cards"), [](SoftCard::State& state) { state.cards[0].tokens.clear(); });
  card.Script("finishAuth", {"none", "error CryptoTokenKit -8"});
  ExpectOneLine(card.Sign(),
                "ctkhost: login failed: the card refused the PIN without a reason; perhaps it is locked: the maker's "
                "tool unlocks it");
  ExpectOneLine(
      card.Sign(),
      "ctkhost: login failed: wrong PIN (TKErrorDomain -8); try again with the right one; the card counts the "
      "wrong ones");
}

TEST(KeySession, RefusesAKeyWhoseConstraintForbidsTheOperation) {
  const FakeCard card;
  card.Script("signData", {kNeedsLogin});
  const ChildResult result = card.Sign("unguarded");
  EXPECT_EQ(result.exitStatus, 4);
  ExpectOneLine(result, "ctkhost: key 12a4 cannot sign: it offers no login for that; use another key");
  EXPECT_EQ(card.CallLine("beginAuth"), "");
}

}  // namespace
