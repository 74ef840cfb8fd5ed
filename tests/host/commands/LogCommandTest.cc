#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>

#include "tests/host/commands/UserHome.h"
#include "tests/support/RunningProgram.h"

namespace {

namespace fs = std::filesystem;

class LogCommand : public ::testing::Test {
 protected:
  ChildResult ShowLog() const { return RunChild(QEL_CTKHOST, {"log", "--no-follow"}, m_home.Environment()); }

  UserHome m_home;
};

TEST_F(LogCommand, PrintsTheLastLinesOnStandardOutputOnly) {
  m_home.TurnTokenLogOn();
  m_home.Append("Documents/QELToken.log", "one\ntwo\nthree\n");
  const ChildResult result = RunChild(QEL_CTKHOST, {"log", "--no-follow", "--lines", "2"}, m_home.Environment());
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "two\nthree\n");
}

TEST_F(LogCommand, ALogThatWasMadeHugeTakesNoMemory) {
  m_home.TurnTokenLogOn();
  m_home.Append("Documents/QELToken.log", "one\n");
  fs::resize_file(m_home.LogPath(), uintmax_t{1} << 30);
  m_home.Append("Documents/QELToken.log", "\nlast\n");
  const ChildResult result = RunChild(QEL_CTKHOST, {"log", "--no-follow", "--lines", "1"}, m_home.Environment());
  EXPECT_EQ(result.output, "last\n");
  rusage used = {};
  getrusage(RUSAGE_CHILDREN, &used);
  EXPECT_LT(used.ru_maxrss, 500 * 1024) << "kilobytes";
}

TEST_F(LogCommand, ALogThatIsOnIsNamedWithoutAdvice) {
  m_home.TurnTokenLogOn();
  m_home.Append("Documents/QELToken.log", "one\n");
  const std::string errors = ShowLog().errors;
  EXPECT_EQ(errors.find("Token log: " + m_home.LogPath() + "\nSystem log: "), 0u) << errors;
}

TEST_F(LogCommand, ALogThatIsOffIsNamedWithWhatTurnsItOn) {
  const std::string errors = ShowLog().errors;
  EXPECT_EQ(
      errors.find("Token log: " + m_home.LogPath() +
                  " (not there yet)\n  The log is off. To turn it on, put "
                  "this into " +
                  m_home.Path("Library/Preferences/Tarnwell.ini") + ":\n\n      [Pkcs11]\n      LogLevelPkcs11 = 1\n"),
      0u)
      << errors;
}

TEST_F(LogCommand, TheAdviceTurnsTheLogOn) {
  m_home.Append("Library/Preferences/Tarnwell.ini", "      [Pkcs11]\n      LogLevelPkcs11 = 1\n");
  EXPECT_EQ(ShowLog().errors.find("The log is off"), std::string::npos);
}

TEST_F(LogCommand, ASettingsFileThatIsNotUnderstoodIsTold) {
  m_home.Append("Library/Preferences/Tarnwell.ini", "[Pkcs11]\nLogLevelPkcs11 = 1\nnonsense\n");
  EXPECT_NE(ShowLog().errors.find("Tarnwell.ini, line 3, is not understood and counts as missing"), std::string::npos);
}

TEST_F(LogCommand, AMissingDocumentsFolderIsTold) {
  m_home.TurnTokenLogOn();
  fs::remove(m_home.Path("Documents"));
  EXPECT_NE(ShowLog().errors.find("The folder " + m_home.Path("Documents") + " is missing"), std::string::npos);
}

TEST_F(LogCommand, ADocumentsFolderThatCannotBeReadIsNotCalledMissing) {
  m_home.TurnTokenLogOn();
  fs::remove(m_home.Path("Documents"));
  fs::create_symlink(m_home.Path("Documents"), m_home.Path("Documents"));  // root may read everything else
  const std::string errors = ShowLog().errors;
  EXPECT_EQ(errors.find("Token log: " + m_home.LogPath() +
                        " (cannot be read: Too many levels of symbolic links)\nSystem log: "),
            0u)
      << errors;
}

class Following : public LogCommand {
 protected:
  Following() {
    m_home.Append("system", "Nov 21 03:00:00 host QELToken[12]: before\n");
    m_program.emplace(QEL_CTKHOST, std::vector<std::string>{"log", "--system-log", m_home.Path("system")},
                      m_home.Environment());
    EXPECT_TRUE(m_program->Prints("Following; Ctrl-C ends.\n"));
  }

  std::optional<RunningProgram> m_program;
};

TEST_F(Following, ShowsALineAsItIsWritten) {
  m_home.Append("Documents/QELToken.log", "C_Sign() => 0x00000101\n");
  EXPECT_TRUE(m_program->Prints("C_Sign() => 0x00000101\n"));
}

TEST_F(Following, ShowsALineOnceItIsWhole) {
  m_home.Append("Documents/QELToken.log", "first half, ");
  EXPECT_FALSE(m_program->Prints("first half", std::chrono::milliseconds(200)));
  m_home.Append("Documents/QELToken.log", "second half\n");
  EXPECT_TRUE(m_program->Prints("first half, second half\n"));
}

TEST_F(Following, GoesOnWithTheNewFileAfterOneWasMovedAway) {
  m_home.Append("Documents/QELToken.log", "old\n");
  ASSERT_TRUE(m_program->Prints("old\n"));
  fs::rename(m_home.LogPath(), m_home.Path("kept.log"));
  m_home.Append("Documents/QELToken.log", "new\n");
  EXPECT_TRUE(m_program->Prints("new\n"));
}

TEST_F(Following, FindsALogWhoseFolderIsMadeLater) {
  fs::remove_all(m_home.Path("Documents"));
  fs::create_directory(m_home.Path("Documents"));
  m_home.Append("Documents/QELToken.log", "late\n");
  EXPECT_TRUE(m_program->Prints("late\n"));
}

TEST_F(Following, ShowsTheExtensionsLinesOfTheSystemLogOnly) {
  m_home.Append("system", "Nov 21 03:00:01 host other[12]: QELToken said\nNov 21 03:00:02 host QELToken[12]: dlopen\n");
  EXPECT_TRUE(m_program->Prints("system: Nov 21 03:00:02 host QELToken[12]: dlopen\n"));
  EXPECT_EQ(m_program->Printed().find("other"), std::string::npos);
  EXPECT_EQ(m_program->Printed().find("before"), std::string::npos);
}

}  // namespace
