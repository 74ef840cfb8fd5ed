#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/extension/Sandbox.h"
#include "tests/integration/RealCard.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

/// A card whose library, once it is loaded in the extension, does what it is ordered to.
class HostileLibrary : public ::testing::Test {
 protected:
  HostileLibrary() {
    EXPECT_EQ(m_card.SoftCard({"beneath", "--library", HOSTILE_LIBRARY}).exitStatus, 0);
    m_card.Write("victim", "what is mine");
    // The library reads its orders where it may read anyway.
    setenv("QEL_HOSTILE_ORDERS", m_card.Path("cards/orders").c_str(), 1);
  }
  ~HostileLibrary() override { unsetenv("QEL_HOSTILE_ORDERS"); }

  void Order(const std::vector<std::string>& orders) const {
    std::string text;
    for (const std::string& order : orders) text += order + "\n";
    m_card.Write("cards/orders", text);
    fs::remove(m_card.Path("cards/live/deeds"));
  }

  /// How each deed ended, in a list of the card's items that must succeed.
  std::string DeedsOfAList() const {
    const ChildResult result = m_card.Host({"list"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return m_card.Text("cards/live/deeds");
  }

  std::string Victim() const { return m_card.Path("victim"); }
  std::string Cards(const std::string& file) const { return m_card.Path("cards/" + file); }

  RealCard m_card{{"--key", "p256"}};
};

/// Skips on a kernel without confinement of what the test is about.
#define REQUIRE_CONFINEMENT_OF(what)                                                             \
  do {                                                                                           \
    if (!Host::Sandbox::IsAvailable()) GTEST_SKIP() << "this kernel has no Landlock";            \
    for (const std::string& gap : Host::Sandbox::Gaps())                                         \
      if (gap.find(what) == 0) GTEST_SKIP() << "this kernel cannot keep a process from " << gap; \
  } while (false)

TEST_F(HostileLibrary, ReachesNoFileOutsideTheRules) {
  REQUIRE_CONFINEMENT_OF("emptying");
  const std::string refused = ": Permission denied\n";
  std::string expected;
  std::vector<std::string> orders;
  for (const char* deed : {"read", "write", "make", "truncate", "remove", "replace", "run"}) {
    orders.push_back(std::string(deed) + " " + Victim());
    expected += orders.back() + (orders.back().rfind("replace", 0) == 0 ? ": No such file or directory\n" : refused);
  }
  Order(orders);
  EXPECT_EQ(DeedsOfAList(), expected);
  EXPECT_EQ(m_card.Text("victim"), "what is mine");
}

TEST_F(HostileLibrary, DoesNotReachTheFileThatErrorsGoTo) {
  Order({"empty-errors -"});
  m_card.Write("errors", "what was wrong before\n");
  const std::string command = QEL_CTKHOST " list 2>> '" + m_card.Path("errors") + "'";
  EXPECT_EQ(RunChild("/bin/sh", {"-c", command}, m_card.Environment()).exitStatus, 0);
  EXPECT_EQ(m_card.Text("cards/live/deeds"), "empty-errors -: Invalid argument\n");
  EXPECT_EQ(m_card.Text("errors"), "what was wrong before\n");
}

TEST_F(HostileLibrary, RunsNothing) {
  REQUIRE_CONFINEMENT_OF("files");
  Order({"run /bin/true", "run /usr/bin/id", "load /usr/bin/id", "memory -", "stay -"});
  EXPECT_EQ(DeedsOfAList(),
            "run /bin/true: Permission denied\nrun /usr/bin/id: Permission denied\n"
            "load /usr/bin/id: Permission denied\nmemory -: Permission denied\nstay -: Permission denied\n");
}

TEST_F(HostileLibrary, ChangesNoModesTimesAndAttributes) {
  REQUIRE_CONFINEMENT_OF("files");
  Order({"mode " + Victim(), "time " + Victim(), "attribute " + Victim(), "open-mode " + Cards("state.json")});
  EXPECT_EQ(DeedsOfAList(), "mode " + Victim() + ": Permission denied\ntime " + Victim() +
                                ": Permission denied\nattribute " + Victim() + ": Permission denied\nopen-mode " +
                                Cards("state.json") + ": Permission denied\n");
}

TEST_F(HostileLibrary, ReachesNothingThatProcessesShare) {
  REQUIRE_CONFINEMENT_OF("files");
  Order({"limit -", "slow -", "shared -", "key -", "namespace -", "root -"});
  EXPECT_EQ(DeedsOfAList(),
            "limit -: Permission denied\nslow -: Permission denied\nshared -: Permission denied\n"
            "key -: Permission denied\nnamespace -: Permission denied\nroot -: Operation not permitted\n");
}

TEST_F(HostileLibrary, ChangesNothingThatTheNextRulesAreMadeOf) {
  REQUIRE_CONFINEMENT_OF("emptying");
  const std::string before = m_card.Text("cards/state.json");
  Order({"write " + Cards("state.json"), "truncate " + Cards("state.json"), "remove " + Cards("state.json"),
         "replace " + Cards("state.json"), "make " + Cards("trap"), "symlink " + Cards("live/trap"),
         "write " + Cards("softhsm2.conf"), "replace " + Cards("pin-dialog.log"),
         "truncate " + Cards("pin-dialog.log")});
  EXPECT_THAT(DeedsOfAList(), Not(HasSubstr("done")));
  EXPECT_EQ(m_card.Text("cards/state.json"), before);
}

TEST_F(HostileLibrary, WritesNothingButTheLogBesideTheLog) {
  REQUIRE_CONFINEMENT_OF("emptying");
  const std::string documents = m_card.Path("home") + "/Documents";
  fs::create_directories(documents);
  std::ofstream(documents + "/QELToken.log") << "a line\n";
  std::ofstream(documents + "/thesis") << "years of work\n";
  Order({"write " + documents + "/QELToken.log", "truncate " + documents + "/QELToken.log",
         "remove " + documents + "/QELToken.log", "make " + documents + "/other", "write " + documents + "/thesis",
         "truncate " + documents + "/thesis"});
  const std::string deeds = DeedsOfAList();
  EXPECT_THAT(deeds, HasSubstr("write " + documents + "/QELToken.log: done\n"));
  EXPECT_EQ(deeds.find("done"), deeds.rfind("done")) << deeds;
}

TEST_F(HostileLibrary, ReachesNoNetworkAndSignalsNobody) {
  REQUIRE_CONFINEMENT_OF("signals");
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string name = "qel-hostile-" + std::to_string(getpid());
  std::memcpy(address.sun_path + 1, name.data(), name.size());
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address),
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())),
            0);
  ASSERT_EQ(listen(listener, 1), 0);
  Order({"tcp -", "udp -", "uring -", "signal -", "abstract " + name});
  EXPECT_EQ(DeedsOfAList(),
            "tcp -: Permission denied\nudp -: Permission denied\nuring -: Permission denied\n"
            "signal -: Operation not permitted\nabstract " +
                name + ": Operation not permitted\n");
  close(listener);
}

TEST_F(HostileLibrary, LivesInAProcessThatLeavesNoCoreAndNobodyLooksInto) {
  Order({"dumpable -"});
  EXPECT_EQ(DeedsOfAList(), "dumpable -: Operation not permitted\n");
}

TEST_F(HostileLibrary, FindsInSupportWhatItFindsInTheExtension) {
  REQUIRE_CONFINEMENT_OF("emptying");
  setenv("MY_SECRET", "hush", 1);
  Order({"read " + Victim(), "truncate " + Victim(), "dumpable -", "variable MY_SECRET", "udp -", "run /bin/true",
         "stay -"});
  const ChildResult result = m_card.Host({"support"});
  unsetenv("MY_SECRET");
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  const std::string once = "read " + Victim() + ": Permission denied\ntruncate " + Victim() +
                           ": Permission denied\ndumpable -: Operation not permitted\n"
                           "variable MY_SECRET: No such file or directory\nudp -: Permission denied\n"
                           "run /bin/true: Permission denied\nstay -: Permission denied\n";
  EXPECT_EQ(m_card.Text("cards/live/deeds"), once + once) << "once in the extension, once in the survey";
}

TEST_F(HostileLibrary, FindsObjectsForSupportOnlyUpToALimit) {
  Order({"search -"});
  EXPECT_THAT(m_card.Host({"support"}).output, HasSubstr("the library failed: C_FindObjects: it has no end\n"));
}

TEST_F(HostileLibrary, HangsSupportNoLongerThanItsTime) {
  Order({"hang -"});
  const auto start = std::chrono::steady_clock::now();
  const ChildResult result = m_card.Host({"--timeout", "1", "support"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_THAT(result.output, HasSubstr("the library did not answer within 1 second\n"));
}

TEST_F(HostileLibrary, OutlivesNobody) {
  REQUIRE_CONFINEMENT_OF("files");
  Order({"stay -", "outlive -"});
  EXPECT_EQ(DeedsOfAList(), "stay -: Permission denied\noutlive -: Permission denied\n");
}

TEST_F(HostileLibrary, KeepsNeitherHostNorSoftcardFromReadingWhatItLeftOfTheTries) {
  const auto is = [&](const std::string& command) { return RunChild("/bin/sh", {"-c", command}).exitStatus == 0; };
  const std::string tries = Cards("live/tries.json");
  for (const std::string& made :
       {"mkfifo '" + tries + "'", "ln -s /dev/zero '" + tries + "'", "mkdir '" + tries + "'",
        "printf '%0100000d' 0 | tr 0 '[' > '" + tries + "'", "echo '{\"card\":[-7,1e9]}' > '" + tries + "'"}) {
    SCOPED_TRACE(made);
    ASSERT_TRUE(is("rm -rf '" + tries + "' && " + made));
    Order({});
    EXPECT_EQ(m_card.Host({"list"}).exitStatus, 0);
    EXPECT_THAT(m_card.SoftCard({"list"}).output, HasSubstr("3 PIN tries left"));
  }
}

}  // namespace
