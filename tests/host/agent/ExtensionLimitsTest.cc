#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "tests/host/agent/CardAgent.h"

namespace {

std::string Contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

using Arguments = std::vector<std::string>;

class ExtensionLimits : public ::testing::Test {
 protected:
  /// The thread sanitizer names functions with the help of a process and two pipes, which are not inherited.
  static void SetUpTestSuite() { setenv("TSAN_OPTIONS", "symbolize=0", 1); }

  explicit ExtensionLimits(const Arguments& options = {}) : agent({"p256"}, CardAgent::Pin::AskPass, options) {
    agent.Keys();  // starts the extension
    const std::string host = std::to_string(agent.Process().ProcessId());
    std::istringstream(Contents("/proc/" + host + "/task/" + host + "/children")) >> extension;
  }
  std::string Of(const std::string& file) const { return "/proc/" + extension + "/" + file; }

  CardAgent agent;
  std::string extension;
};

TEST_F(ExtensionLimits, ItsEnvironmentHasTheUsersHomeAndNothingOfTheSession) {
  std::string variables = Contents(Of("environ"));
  EXPECT_NE(variables.find("HOME=" + agent.Card().Path("home")), std::string::npos);
  EXPECT_NE(variables.find("QEL_SOFTCARD_DIR=" + agent.Card().Path("cards")), std::string::npos);
  for (const char* name : {"SSH_ASKPASS", "SSH_AUTH_SOCK", "PWD="})
    EXPECT_EQ(variables.find(name), std::string::npos) << name;
}

TEST_F(ExtensionLimits, ItLeavesNoCoreFile) {
  const std::string limits = Contents(Of("limits"));
  const std::string line = limits.substr(limits.find("Max core file size"), 60);
  std::istringstream words(line.substr(26));
  std::string soft, hard;
  words >> soft >> hard;
  EXPECT_EQ(soft + " " + hard, "0 0") << line;
}

TEST_F(ExtensionLimits, ItInheritsNoDescriptorButItsSocket) {
  std::map<std::string, std::string> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator(Of("fd")))
    descriptors[entry.path().filename()] = std::filesystem::read_symlink(entry.path());
  EXPECT_EQ(descriptors.size(), 4u);
  EXPECT_EQ(descriptors["0"], "/dev/null");
  EXPECT_EQ(descriptors["3"].rfind("socket:", 0), 0u);
}

class ExtensionSandbox : public ExtensionLimits {
 protected:
  ExtensionSandbox() : ExtensionLimits({"--verbose"}) {}
};

TEST_F(ExtensionSandbox, LetsTheCardSignAndGivesNoPrivilegesBack) {
  EXPECT_TRUE(IsSigned(AgentClient(agent.Socket()).Ask(SignRequest(agent.KeyBlobs().at(0), "data", 0))));
  EXPECT_NE(agent.Card().Text("trace").find(" C_Sign("), std::string::npos);
  const std::string log = agent.Process().Log();
  if (log.find("no sandbox: this kernel has no Landlock\n") != std::string::npos)
    GTEST_SKIP() << "this kernel has no Landlock";
  EXPECT_NE(log.find("sandbox: may read " + agent.Card().Path("cards") + "\n"), std::string::npos) << log;
  EXPECT_NE(log.find("sandbox: may change " + agent.Card().Path("cards/live") + "\n"), std::string::npos) << log;
  EXPECT_NE(log.find("sandbox: no network, and no process or program but its own\n"), std::string::npos) << log;
  EXPECT_NE(Contents(Of("status")).find("NoNewPrivs:\t1\n"), std::string::npos);
}

class WithoutSandbox : public ExtensionLimits {
 protected:
  WithoutSandbox() : ExtensionLimits({"--verbose", "--no-sandbox"}) {}
};

TEST_F(WithoutSandbox, TheExtensionIsConfinedByNothing) {
  EXPECT_EQ(agent.Process().Log().find("sandbox: may"), std::string::npos);
  EXPECT_NE(Contents(Of("status")).find("NoNewPrivs:\t0\n"), std::string::npos);
}

}  // namespace
