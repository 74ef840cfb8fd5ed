#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>

#include "tests/host/readers/ReaderCard.h"
#include "tests/integration/OpenSSL.h"
#include "tests/support/RunningProgram.h"

namespace {

#if __has_feature(thread_sanitizer)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

const std::string kReader = ReaderService::ReaderName();
constexpr char kDoesNotRun[] = "the smart-card service (pcscd) does not run; start it to use real readers";

/// The service knows whether a card is in its first reader; the soft card answers for the card, because its slot's
/// description contains the reader's name.
class RealReaders : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string obstacle = ReaderService::Obstacle();
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
    m_service.emplace();
    MakeCard({"--key", "p256"});
  }

  void MakeCard(const std::vector<std::string>& options) {
    m_card.emplace(options);
    ASSERT_EQ(m_card->SoftCard({"remove"}).exitStatus, 0);
    PutBehindTheReader(*m_card);
    m_key = m_card->KeyID();
  }

  void Insert() { m_inserted.emplace(*m_service); }
  void Remove() { m_inserted.reset(); }

  bool Shows(const std::string& state) const { return ::Shows(*m_card, state); }

  std::vector<std::string> Signing() const {
    return {"sign",
            "--reader",
            kReader,
            "--key",
            m_key,
            "--algorithm",
            "ecdsa-sha256",
            "--in",
            m_card->Path("message"),
            "--out",
            m_card->Path("signature")};
  }

  RunningProgram Watch() const { return {QEL_CTKHOST, {"watch", "--reader", kReader}, m_card->Environment()}; }

  std::optional<ReaderService> m_service;
  std::optional<RealCard> m_card;
  std::optional<VirtualCard> m_inserted;
  std::string m_key;
};

TEST_F(RealReaders, AreShownWithAndWithoutACard) {
  ASSERT_TRUE(Shows("empty"));
  Insert();
  EXPECT_TRUE(Shows("card "));
  Remove();
  EXPECT_TRUE(Shows("empty"));
}

TEST_F(RealReaders, TakeAVirtualCardOnlyWhileTheServiceRuns) {
  m_service->Stop();
  const ChildResult result = m_card->SoftCard({"virtual", "--port", std::to_string(m_service->Port())});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "softcard: no virtual reader at port " + std::to_string(m_service->Port()) +
                               ": Connection refused; it is there while pcscd runs with the driver of "
                               "vsmartcard-vpcd\n");
}

TEST_F(RealReaders, HideASoftReaderOfTheSameName) {
  ASSERT_EQ(m_card->SoftCard({"remove", "--reader", SoftSlot()}).exitStatus, 0);
  ASSERT_EQ(m_card->SoftCard({"insert", "card", "--reader", kReader}).exitStatus, 0);
  ASSERT_TRUE(Shows("empty"));
  EXPECT_EQ(m_card->Host({"readers"}).output.find("card   " + kReader), std::string::npos);
}

TEST_F(RealReaders, ACardInOneIsUsedDownToTheSignature) {
  const std::string publicKey = m_card->ExportPublicKey(m_key);
  Insert();
  ASSERT_TRUE(Shows("card "));
  const ChildResult result = m_card->Host(Signing());
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_TRUE(Verifies("ecdsa-sha256", publicKey, m_card->Path("message"), m_card->Path("signature")));
}

TEST_F(RealReaders, WithoutACardInOneThereIsNoToken) {
  ASSERT_TRUE(Shows("empty"));
  EXPECT_EQ(m_card->Host({"list", "--reader", kReader}).exitStatus, 3);
}

TEST_F(RealReaders, AWrongPinIsStillToldAsOne) {
  Insert();
  ASSERT_TRUE(Shows("card "));
  const ChildResult result = m_card->HostWithPinFile("wrong", Signing());
  EXPECT_EQ(result.exitStatus, 5) << result.errors;
}

TEST_F(RealReaders, TokensComeAndGoWithTheCard) {
  ASSERT_TRUE(Shows("empty"));
  RunningProgram watch = Watch();
  ASSERT_TRUE(watch.Prints("watching\n"));
  for (int round = 0; round < 2; ++round) {
    Insert();
    EXPECT_TRUE(watch.Prints("token QEL-")) << watch.Printed();
    Remove();
    EXPECT_TRUE(watch.Prints("ended QEL-")) << watch.Printed();
  }
}

TEST_F(RealReaders, ATokenEndsWithTheServiceAndComesBackWithIt) {
  Insert();
  ASSERT_TRUE(Shows("card "));
  RunningProgram watch = Watch();
  ASSERT_TRUE(watch.Prints("token QEL-")) << watch.Printed();
  m_service->Stop();
  Remove();
  EXPECT_TRUE(watch.Prints("ended QEL-")) << watch.Printed();
  EXPECT_NE(watch.Printed().find(kDoesNotRun), std::string::npos) << watch.Printed();
  m_service->Start();
  Insert();
  EXPECT_TRUE(watch.Prints("service answers")) << watch.Printed();
  EXPECT_TRUE(watch.Prints("token QEL-")) << watch.Printed();
}

TEST_F(RealReaders, NothingIsAskedAgainWhileNothingChanges) {
  ASSERT_TRUE(Shows("empty"));
  RunningProgram watch = Watch();
  ASSERT_TRUE(watch.Prints("watching\n"));
  const auto switches = [&] {
    std::map<int, long> ofThreads;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(watch.Process()) + "/task")) {
      std::ifstream in(thread.path() / "status");
      for (std::string word; in >> word;)
        if (word == "voluntary_ctxt_switches:" && in >> word)
          ofThreads[std::stoi(thread.path().filename())] = std::stol(word);
    }
    // The thread sanitizer starts a thread of its own before any other, which wakes ten times a second.
    if (kThreadSanitizer && ofThreads.size() > 1) ofThreads.erase(std::next(ofThreads.begin()));
    return ofThreads;
  };
  usleep(500000);
  const std::map<int, long> before = switches();
  ASSERT_FALSE(before.empty());
  usleep(2000000);
  EXPECT_EQ(switches(), before);
}

TEST_F(RealReaders, WithoutTheServiceTheSoftOnesAreShownWithAWord) {
  m_service->Stop();
  const ChildResult result = m_card->Host({"readers"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_NE(result.output.find("card   " + SoftSlot()), std::string::npos) << result.output;
  EXPECT_EQ(result.errors, std::string("ctkhost: soft readers only: ") + kDoesNotRun + "\n");
  EXPECT_EQ(m_card->Host({"list"}).errors, "");
}

TEST_F(RealReaders, WithoutTheServiceAndSoftOnesTheErrorSaysWhatToDo) {
  m_service->Stop();
  ChildEnvironment environment = m_card->Environment();
  environment["QEL_SOFTCARD_DIR"] = m_card->Path("none");
  const ChildResult result = RunChild(QEL_CTKHOST, {"list"}, environment);
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors, std::string("ctkhost: no reader: ") + kDoesNotRun +
                               ", or make a soft one: 'softcard init demo', then 'softcard insert demo'\n");
}

/// When cards and readers are pulled.
enum class Moment { AtThePinPad, InTheLibrary };

void PrintTo(Moment moment, std::ostream* out) {
  *out << (moment == Moment::AtThePinPad ? "while the PIN is typed" : "while the card signs");
}

/// A signature that has come to that moment, and a library that says, when it goes on, that the card is gone.
class Pulled : public RealReaders, public ::testing::WithParamInterface<Moment> {
 protected:
  void SetUp() override {
    RealReaders::SetUp();
    if (IsSkipped()) return;
    GetParam() == Moment::AtThePinPad ? StartAtThePinPad() : StartInTheLibrary();
  }

  void StartAtThePinPad() {
    MakeCard({"--key", "p256", "--pin-pad", "--slot-type", "0x80000002"});
    Start({});
    ASSERT_TRUE(m_sign->Prints("-> finishAuth")) << m_sign->Printed();
  }

  void StartInTheLibrary() {
    ASSERT_EQ(m_card->SoftCard({"beneath", "--library", CRASHING_LIBRARY}).exitStatus, 0);
    m_card->Write("instruction", "C_Sign wait");
    Start({"--no-sandbox", "--pin-file", m_card->Path("pin")});
    for (int attempt = 0; attempt < 1000 && m_card->Has("instruction"); ++attempt) usleep(20000);
    ASSERT_FALSE(m_card->Has("instruction")) << m_sign->Printed();
  }

  void Start(std::vector<std::string> arguments) {
    Insert();
    ASSERT_TRUE(Shows("card "));
    arguments.emplace_back("-v");
    for (const std::string& argument : Signing()) arguments.push_back(argument);
    ChildEnvironment environment = m_card->Environment();
    environment["QEL_CRASH"] = m_card->Path("instruction");
    m_sign.emplace(QEL_CTKHOST, arguments, environment);
  }

  /// Which may notice before the service does.
  void TakeFromTheLibrary() {
    ASSERT_EQ(m_card->SoftCard({"remove", "--reader", SoftSlot()}).exitStatus, 0);
    m_card->Write("instruction.go", "");
  }

  void ExpectTheErrorAndNothingLeft(const std::string& reason) {
    EXPECT_TRUE(m_sign->Prints("ctkhost: signing failed: the " + reason + " and try again")) << m_sign->Printed();
    EXPECT_EQ(m_sign->Wait(), 3) << m_sign->Printed();
    const std::string mark = "started the extension, process ";
    const size_t at = m_sign->Printed().find(mark);
    ASSERT_NE(at, std::string::npos);
    const pid_t extension = std::stoi(m_sign->Printed().substr(at + mark.size()));
    EXPECT_NE(kill(extension, 0), 0) << "the extension still runs";
    for (const auto& entry : std::filesystem::directory_iterator(m_card->Folder()))
      EXPECT_NE(entry.path().filename().string().rfind("signature", 0), 0u) << entry.path();
  }

  std::optional<RunningProgram> m_sign;
};

TEST_P(Pulled, ACardEndsTheOperationWithAClearErrorAndLeavesNothing) {
  Remove();
  TakeFromTheLibrary();
  ExpectTheErrorAndNothingLeft("card was taken out of " + kReader + "; put it back");
}

TEST_P(Pulled, AReaderEndsTheOperationWithAClearErrorAndLeavesNothing) {
  m_service->Stop();
  m_service->StartWithoutReaders();
  TakeFromTheLibrary();
  ExpectTheErrorAndNothingLeft("reader " + kReader + " was unplugged; plug it in");
}

TEST_P(Pulled, AServiceEndsTheOperationWithAClearErrorAndLeavesNothing) {
  m_service->Stop();
  TakeFromTheLibrary();
  ExpectTheErrorAndNothingLeft("reader " + kReader + " is gone, because " + kDoesNotRun);
}

INSTANTIATE_TEST_SUITE_P(, Pulled, ::testing::Values(Moment::AtThePinPad, Moment::InTheLibrary));

}  // namespace
