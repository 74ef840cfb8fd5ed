#include "host/agent/PinPrompt.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/Failure.h"

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
    Host::PinPrompt prompt(stop[0]);
    prompt.SetPurpose("SSH key 'mine'");
    try {
      const auto pin = prompt.Ask("PIN: ");
      return {reinterpret_cast<const char*>(pin.data()), pin.size()};
    } catch (const Failure& failure) {
      return std::to_string(static_cast<int>(failure.Status())) + " " + failure.what();
    }
  }

  std::filesystem::path folder;
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

TEST_F(AskPass, IsCancelledAndTheProgramEndedWhenTheAgentEnds) {
  Script("exec sleep 100");
  ASSERT_EQ(write(stop[1], "", 1), 1);
  EXPECT_EQ(Asked(), "6 PIN entry was cancelled: the agent ends");
}

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
