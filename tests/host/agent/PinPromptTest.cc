#include "host/agent/PinPrompt.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "host/base/Failure.h"

namespace {

using Host::ExitStatus;
using Host::Failure;

/// A program that SSH_ASKPASS names, and this process's environment, put back at the end.
class AskPass : public ::testing::Test {
 protected:
  AskPass() {
    std::string name = std::filesystem::temp_directory_path() / "qel-askpass-XXXXXX";
    folder = mkdtemp(name.data());
    setenv("SSH_ASKPASS", (folder / "askpass").c_str(), 1);
    setenv("SSH_ASKPASS_REQUIRE", "force", 1);
    EXPECT_EQ(pipe(stop), 0);
  }
  ~AskPass() override {
    unsetenv("SSH_ASKPASS");
    unsetenv("SSH_ASKPASS_REQUIRE");
    close(stop[0]);
    close(stop[1]);
    std::filesystem::remove_all(folder);
  }

  void Script(const std::string& text) {
    std::ofstream(folder / "askpass") << "#!/bin/sh\n" << text << "\n";
    std::filesystem::permissions(folder / "askpass", std::filesystem::perms::owner_all);
  }

  /// What the user "typed", or the status and the message of the failure.
  std::string Asked() {
    Host::PinPrompt prompt(stop[0], patience);
    prompt.SetPurpose("SSH key 'mine'");
    try {
      const auto pin = prompt.Ask("PIN: ");
      return {reinterpret_cast<const char*>(pin.data()), pin.size()};
    } catch (const Failure& failure) {
      return std::to_string(static_cast<int>(failure.Status())) + " " + failure.what();
    }
  }

  std::filesystem::path folder;
  std::chrono::milliseconds patience = std::chrono::minutes(2);
  int stop[2] = {-1, -1};
};

TEST_F(AskPass, IsTheFirstLineOfWhatTheProgramPrints) {
  Script("printf '12 34\\r\\nmore\\n'");
  EXPECT_EQ(Asked(), "12 34");
}

TEST_F(AskPass, TellsTheProgramWhatThePinIsFor) {
  Script("printf '%s' \"$1\"");
  EXPECT_EQ(Asked(), "SSH key 'mine', PIN: ");
}

TEST_F(AskPass, IsCancelledWhenTheProgramFails) {
  Script("echo 1234; exit 1");
  EXPECT_EQ(Asked(), "6 PIN entry was cancelled");
}

TEST_F(AskPass, IsCancelledWhenTheProgramPrintsNothing) {
  for (const char* nothing : {"true", "echo", "printf '\\r\\n'"}) {
    Script(nothing);
    EXPECT_EQ(Asked(), "6 PIN entry was cancelled: no PIN was typed, so none was tried") << nothing;
  }
}

TEST_F(AskPass, IsCancelledAndTheProgramEndedWhenTheAgentEnds) {
  Script("exec sleep 100");
  ASSERT_EQ(write(stop[1], "", 1), 1);
  EXPECT_EQ(Asked(), "6 PIN entry was cancelled: the agent ends");
}

TEST_F(AskPass, IsGivenUpWhenNobodyAnswersInTime) {
  Script("exec sleep 100");
  patience = std::chrono::milliseconds(300);
  EXPECT_EQ(Asked(), "6 PIN entry was cancelled: nobody answered for 300 ms");
}

/// Each answers at once and lives on for a minute, or somebody it started does.
class Lingering : public AskPass, public ::testing::WithParamInterface<const char*> {};

TEST_P(Lingering, DelaysNothing) {
  Script(GetParam());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Asked(), "1234");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

INSTANTIATE_TEST_SUITE_P(AskPass, Lingering,
                         ::testing::Values("echo 1234; exec sleep 60 >&-", "echo 1234; sleep 60 2>&- &",
                                           "(trap '' TERM HUP; sleep 60 2>&-) 2>&- & echo 1234"));

TEST_F(AskPass, RefusesMoreThanAPin) {
  for (const char* length : {"1024", "1026", "100000"}) {
    Script(std::string("head -c ") + length + " /dev/zero | tr '\\0' 1");
    EXPECT_EQ(Asked(), "1 what SSH_ASKPASS printed is too long for a PIN") << length;
  }
  Script("head -c 1023 /dev/zero | tr '\\0' 1");
  EXPECT_EQ(Asked(), std::string(1023, '1'));
}

TEST_F(AskPass, SaysWhichProgramCannotBeRun) {
  EXPECT_EQ(Asked(), "1 SSH_ASKPASS cannot be run: " + (folder / "askpass").string() + ": No such file or directory");
}

TEST_F(AskPass, TheProgramInheritsNoDescriptor) {
  const int leaked = dup(stop[0]);
  Script("ls /proc/self/fd | wc -l | tr -d ' '");
  // Three, and the folder that is being listed.
  EXPECT_EQ(Asked(), "4");
  close(leaked);
}

}  // namespace
