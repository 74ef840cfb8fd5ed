#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <future>
#include <ostream>
#include <sstream>
#include <thread>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

constexpr char kAlgorithm[] = "ecdsa-sha256";

TEST(WrongPin, IsStatusFiveWithOneLineAndNoFile) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Sign(card.KeyID(), kAlgorithm, "wrong");
  EXPECT_EQ(result.exitStatus, 5);
  EXPECT_EQ(result.errors, "ctkhost: login failed: wrong PIN (TKErrorDomain -8); tries left: 1\n");
  EXPECT_FALSE(card.Has("signature"));
}

TEST(WrongPin, LocksAfterThreeTriesOfWhichATypedPinCostsTwo) {
  const RealCard card({"--key", "p256"});
  const std::string key = card.KeyID();
  card.Sign(key, kAlgorithm, "wrong");
  EXPECT_EQ(card.Sign(key, kAlgorithm, "wrong").exitStatus, 5);
  const ChildResult locked = card.Sign(key, kAlgorithm);
  EXPECT_EQ(locked.exitStatus, 5);
  EXPECT_EQ(locked.errors,
            "ctkhost: login failed: the card refused the PIN without a reason; the PIN is locked now: "
            "'softcard unlock CARD' unlocks it\n");
}

TEST(WrongPin, IsForgottenAfterTheRightOneAndAfterUnlocking) {
  const RealCard card({"--key", "p256"});
  const std::string key = card.KeyID();
  card.Sign(key, kAlgorithm, "wrong");
  EXPECT_EQ(card.Sign(key, kAlgorithm).exitStatus, 0);
  card.Sign(key, kAlgorithm, "wrong");
  card.Sign(key, kAlgorithm, "wrong");
  ASSERT_EQ(card.SoftCard({"unlock", "card"}).exitStatus, 0);
  EXPECT_EQ(card.Sign(key, kAlgorithm).exitStatus, 0);
}

TEST(PinHygiene, NothingThatARunLeavesBehindHoldsThePin) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"-v", "sign", "--key", card.KeyID(), "--algorithm", kAlgorithm, "--in",
                                        card.Path("message"), "--out", card.Path("signature")});
  ASSERT_EQ(result.exitStatus, 0);
  EXPECT_EQ((result.output + result.errors).find(RealCard::Pin()), std::string::npos);
  int searched = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(card.Folder())) {
    const std::string name = entry.path().filename();
    if (!entry.is_regular_file() || name == "pin" || name == "wrong") continue;
    std::ostringstream text;
    text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    EXPECT_EQ(text.str().find(RealCard::Pin()), std::string::npos) << entry.path();
    ++searched;
  }
  EXPECT_GT(searched, 5);
}

/// A card whose PIN is entered at the reader, and a signature that waits for it.
class PinPad {
 public:
  explicit PinPad(const std::string& slotType = "0x80000002")
      : m_card({"--key", "p256", "--pin-pad", "--slot-type", slotType}), m_key(m_card.KeyID()) {}

  const RealCard& Card() const { return m_card; }
  const std::string& Key() const { return m_key; }

  std::future<ChildResult> StartSigning() const {
    return std::async(std::launch::async, [this] { return m_card.Sign(m_key, kAlgorithm); });
  }
  int Enter(const std::string& pinFile) const {
    return *m_card.SoftCard({"pinpad", "enter", "--wait", "20", "--pin-file", m_card.Path(pinFile)}).exitStatus;
  }
  int Cancel() const { return *m_card.SoftCard({"pinpad", "cancel", "--wait", "20"}).exitStatus; }
  std::string DialogRecord() const { return m_card.Text("cards/pin-dialog.log"); }

 private:
  RealCard m_card;
  std::string m_key;
};

struct Kind {
  const char* slotType;
  const char* dialog;
};

void PrintTo(const Kind& kind, std::ostream* out) {
  *out << kind.slotType;
}

class PinPadKinds : public ::testing::TestWithParam<Kind> {};

TEST_P(PinPadKinds, ShowTheirDialogAroundLoginAndSignature) {
  const PinPad pad(GetParam().slotType);
  auto signing = pad.StartSigning();
  EXPECT_EQ(pad.Enter("pin"), 0);
  const ChildResult result = signing.get();
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_TRUE(Verifies(kAlgorithm, pad.Card().ExportPublicKey(pad.Key()), pad.Card().Path("message"),
                       pad.Card().Path("signature")));
  const std::string once =
      std::string("shown, kind ") + GetParam().dialog + ": Please enter your PIN on the card reader.\nhidden\n";
  EXPECT_EQ(pad.DialogRecord(), once + once);
}

INSTANTIATE_TEST_SUITE_P(Integration, PinPadKinds,
                         ::testing::Values(Kind{"0x80000001", "1"}, Kind{"0x80000002", "8"}, Kind{"0x80000003", "32"}));

TEST(PinPadLogin, CancelledIsStatusSixAndTheDialogIsHidden) {
  const PinPad pad;
  auto signing = pad.StartSigning();
  EXPECT_EQ(pad.Cancel(), 0);
  const ChildResult result = signing.get();
  EXPECT_EQ(result.exitStatus, 6);
  EXPECT_NE(result.errors.find("ctkhost: login was cancelled (TKErrorDomain -4)"), std::string::npos);
  EXPECT_EQ(pad.DialogRecord(), "shown, kind 8: Please enter your PIN on the card reader.\nhidden\n");
  EXPECT_FALSE(pad.Card().Has("signature"));
}

TEST(PinPadLogin, WithTheWrongPinIsStatusFiveAndCostsOneTry) {
  const PinPad pad;
  auto signing = pad.StartSigning();
  EXPECT_EQ(pad.Enter("wrong"), 0);
  const ChildResult result = signing.get();
  EXPECT_EQ(result.exitStatus, 5);
  EXPECT_NE(result.errors.find("wrong PIN (TKErrorDomain -8); tries left: 2"), std::string::npos);
}

/// The process of the last line of the card's trace.
pid_t LastProcess(const RealCard& card) {
  std::istringstream lines(card.Text("trace"));
  std::string line, last;
  while (std::getline(lines, line)) last = line;
  std::istringstream words(last);
  std::string time;
  pid_t process = 0;
  words >> time >> process;
  return process;
}

TEST(KilledExtension, CostsOneRequestAndTheNextIsDone) {
  const PinPad pad;
  auto signing = pad.StartSigning();
  while (pad.DialogRecord().empty() && signing.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) {
  }
  const pid_t extension = LastProcess(pad.Card());
  ASSERT_GT(extension, 0);
  kill(extension, SIGKILL);
  const ChildResult killed = signing.get();
  EXPECT_EQ(killed.exitStatus, 1);
  EXPECT_NE(killed.errors.find("ctkhost: login failed: the extension was ended by signal 9 (Killed); try again"),
            std::string::npos)
      << killed.errors;
  EXPECT_FALSE(pad.Card().Has("signature"));

  auto again = pad.StartSigning();
  EXPECT_EQ(pad.Enter("pin"), 0);
  EXPECT_EQ(again.get().exitStatus, 0);
}

}  // namespace
