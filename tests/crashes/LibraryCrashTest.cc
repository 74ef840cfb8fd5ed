// The card's library ends the extension's process in the middle of a call. The host says what happened, leaves no
// result, and the same request succeeds next.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <ostream>

#include "tests/host/agent/CardAgent.h"
#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

const char kSegmentationFault[] = "was ended by signal 11 (Segmentation fault)";
const char kConstruction[] = "reading the card in \"QEL Soft Reader 00\"";
const char kNoSandbox[] = "--no-sandbox";  // the library reads and removes a file that no entitlement names
const char kTryAgain[] = "; try again, and if it fails again, show a help desk what 'ctkhost support' prints\n";

void PutCrashingLibraryBeneath(const RealCard& card) {
  ASSERT_EQ(card.SoftCard({"beneath", "--library", CRASHING_LIBRARY}).exitStatus, 0);
}

/// Makes that library, in the programs that are started from now on, end its process in the call and in the way that
/// `instruction` names, once.
class WantedCrash {
 public:
  explicit WantedCrash(const std::string& instruction) {
    std::ofstream(m_file) << instruction;
    setenv("QEL_CRASH", m_file.c_str(), 1);
    // The sanitizers' own handlers would end the process in another way.
    for (const char* sanitizer : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) setenv(sanitizer, "handle_segv=0:handle_abort=0", 1);
  }
  ~WantedCrash() {
    for (const char* variable : {"QEL_CRASH", "ASAN_OPTIONS", "TSAN_OPTIONS"}) unsetenv(variable);
  }
  WantedCrash(const WantedCrash&) = delete;
  WantedCrash& operator=(const WantedCrash&) = delete;

  bool Happened() const { return !std::filesystem::exists(m_file); }

 private:
  TemporaryDirectory m_folder;
  std::filesystem::path m_file = m_folder.Path() / "crash";
};

/// A card with a key for everything and the files of each operation; `result` is the file that an operation writes.
class Operations {
 public:
  Operations() {
    for (const auto& item : m_card.Items()) {
      if (item.at("kind") != "key") continue;
      (item.at("keyType") == "RSA-2048" ? m_rsaKey : m_ecKey) = item.at("objectID");
    }
    m_card.Write("plain", "attack at dawn");
    Made({"pkeyutl", "-encrypt", "-pubin", "-inkey", m_card.ExportPublicKey(m_rsaKey), "-pkeyopt",
          "rsa_padding_mode:pkcs1", "-in", m_card.Path("plain"), "-out", m_card.Path("encrypted")});
    Made({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", m_card.Path("peer")});
    Made({"pkey", "-in", m_card.Path("peer"), "-pubout", "-out", m_card.Path("peer.pub")});
    PutCrashingLibraryBeneath(m_card);
  }

  ChildResult Run(const std::string& operation) const {
    std::vector<std::string> arguments = {kNoSandbox, operation};
    const auto with = [&](std::initializer_list<std::string> more) { arguments.insert(arguments.end(), more); };
    if (operation != "list") with({"--key", operation == "agree" ? m_ecKey : m_rsaKey, "--out", Result()});
    if (operation == "sign") with({"--algorithm", "rsa-pkcs1-sha256", "--in", m_card.Path("message")});
    if (operation == "decrypt") with({"--in", m_card.Path("encrypted")});
    if (operation == "agree") with({"--peer", m_card.Path("peer.pub"), "--size", "32"});
    return m_card.Host(arguments);
  }

  const RealCard& Card() const { return m_card; }
  std::string Result() const { return m_card.Path("result"); }

 private:
  static void Made(const std::vector<std::string>& arguments) { ASSERT_EQ(RunOpenSSL(arguments).exitStatus, 0); }

  RealCard m_card{{"--key", "rsa2048", "--key", "p256"}};
  std::string m_rsaKey;
  std::string m_ecKey;
};

/// The operation, the library's call and way of ending, what the host says that failed, and what it says of the
/// process.
struct Crash {
  const char* operation;
  const char* instruction;
  const char* what;
  const char* end = kSegmentationFault;
};

void PrintTo(const Crash& crash, std::ostream* out) {
  *out << crash.operation << ", " << crash.instruction;
}

class LibraryCrash : public ::testing::TestWithParam<Crash> {};

TEST_P(LibraryCrash, CostsOneRequestThatSaysSoAndTheNextIsDone) {
  const Crash& crash = GetParam();
  const Operations operations;
  const WantedCrash wanted(crash.instruction);

  const ChildResult crashed = operations.Run(crash.operation);
  EXPECT_TRUE(wanted.Happened());
  EXPECT_EQ(crashed.exitStatus, 1);
  const std::string expected = std::string(crash.what) + " failed: the extension " + crash.end + kTryAgain;
  EXPECT_NE(crashed.errors.find(expected), std::string::npos) << crashed.errors;
  EXPECT_EQ(crashed.output, "");
  EXPECT_FALSE(operations.Card().Has("result"));

  const ChildResult next = operations.Run(crash.operation);
  EXPECT_EQ(next.exitStatus, 0) << next.errors;
  EXPECT_NE(next.output + next.errors, "") << "neither a list nor a word on the file";
  EXPECT_EQ(operations.Card().Has("result"), std::string(crash.operation) != "list");
}

const Crash kCrashes[] = {
    {"list", "C_Initialize crash", kConstruction},
    {"list", "C_GetSlotList crash", kConstruction},
    {"list", "C_OpenSession crash", kConstruction},
    {"list", "C_FindObjects crash", kConstruction},
    {"list", "C_GetAttributeValue crash", kConstruction},
    {"sign", "C_GetSessionInfo crash", "signing"},
    {"sign", "C_Login crash", "login"},
    {"sign", "C_SignInit crash", "signing"},
    {"sign", "C_Sign crash", "signing"},
    {"sign", "C_Sign abort", "signing", "was ended by signal 6 (Aborted)"},
    {"sign", "C_Sign exit", "signing", "ended with status 3"},
    {"decrypt", "C_DecryptInit crash", "decryption"},
    {"decrypt", "C_Decrypt crash", "decryption"},
    {"agree", "C_DeriveKey crash", "key agreement"},
};

INSTANTIATE_TEST_SUITE_P(, LibraryCrash, ::testing::ValuesIn(kCrashes));

TEST(LibraryCrashInAnAgent, CostsOneSignatureAndTheSameAgentGoesOn) {
  const WantedCrash wanted("C_Sign crash");
  CardAgent agent({"p256"}, CardAgent::Pin::AskPass, {kNoSandbox});
  PutCrashingLibraryBeneath(agent.Card());
  const Ssh::Bytes request = SignRequest(agent.KeyBlobs().at(0), "data", 0);
  EXPECT_FALSE(IsSigned(AgentClient(agent.Socket()).Ask(request)));
  EXPECT_TRUE(wanted.Happened());
  EXPECT_TRUE(IsSigned(AgentClient(agent.Socket()).Ask(request)));
  EXPECT_NE(agent.Process().Log().find(kSegmentationFault), std::string::npos) << agent.Process().Log();
}

TEST(LibraryCrashReport, OfALoginNamesTheCallsAndNotThePin) {
  const Operations operations;
  const WantedCrash wanted("C_Login crash");
  setenv("QEL_BACKTRACE", "1", 1);
  const ChildResult crashed = operations.Run("sign");
  unsetenv("QEL_BACKTRACE");
  EXPECT_NE(crashed.errors.find("the extension crashed; its calls, the innermost first:\n"), std::string::npos);
  EXPECT_NE(crashed.errors.find("/libcrashing_library.so("), std::string::npos) << crashed.errors;
  EXPECT_EQ((crashed.errors + crashed.output).find(RealCard::Pin()), std::string::npos);
}

}  // namespace
