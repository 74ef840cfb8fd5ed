#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <QELBuildConstants.h>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using Questions = std::vector<std::string>;
namespace fs = std::filesystem;

/// A user with a home folder in the password database, elsewhere than HOME, and a machine with a maker's file.
class Settings : public ::testing::Test {
 protected:
  void UserFile(const std::string& text) {
    fs::create_directories(m_home / "Library/Preferences");
    std::ofstream(m_home / "Library/Preferences/Tarnwell.ini") << text;
  }
  void MachineFile(const std::string& text) { std::ofstream(m_machineFile) << text; }

  /// Makes the user's home a folder whose name has as many bytes as the path of the file is to have.
  void UserFilePathOfLength(size_t length) {
    const std::string file = "/Library/Preferences/Tarnwell.ini";
    std::string home = m_home;
    while (home.size() + file.size() < length) {
      const size_t missing = length - home.size() - file.size();
      home += "/" + std::string(missing > 201 ? 199 : missing - 1, 'x');
    }
    m_home = home;
    ASSERT_EQ((m_home / file.substr(1)).string().size(), length);
  }

  /// Starts a process that answers `questions`; returns its answers, one a line.
  std::string Ask(const Questions& questions) {
    const fs::path users = m_folder.Path() / "passwd";
    const fs::path groups = m_folder.Path() / "group";
    const std::string entry = "tester:x:" + std::to_string(m_user) + ":" + std::to_string(getgid()) + "::";
    std::ofstream(users) << entry << m_home.string() << ":/bin/sh\n";
    std::ofstream(groups) << "testers:x:" << getgid() << ":\n";
    ChildEnvironment environment{{"LD_PRELOAD", NSS_WRAPPER_LIBRARY},
                                 {"NSS_WRAPPER_PASSWD", users},
                                 {"NSS_WRAPPER_GROUP", groups},
                                 {"NSS_WRAPPER_DISABLE_DEEPBIND", "1"},
                                 {"LSAN_OPTIONS", "print_suppressions=0"},  // what Foundation leaks is no line of a log
                                 {"QEL_TEST_MACHINE_FILE", m_machineFile},
                                 {"HOME", m_environmentHome}};
    const ChildResult child = RunChild(SETTINGS_PROBE, questions, environment);
    EXPECT_EQ(child.exitStatus, 0) << child.errors;
    m_systemLog = child.errors;
    ExpectNothingBesideTheSystemLog(child.errors);
    return child.output;
  }

  /// Without a callback iniparser says the same on standard error.
  static void ExpectNothingBesideTheSystemLog(const std::string& errors) {
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) EXPECT_EQ(line.rfind("system log, ", 0), 0u) << line;
  }

  /// Whether a message of NSLog's begins with `text`.
  bool SystemLogHas(const std::string& text) const {
    return ("\n" + m_systemLog).find("\nsystem log, NSLog: " + text) != std::string::npos;
  }

  TemporaryDirectory m_folder;
  fs::path m_home = m_folder.Path() / "home";
  fs::path m_machineFile = m_folder.Path() / "machine.ini";
  std::string m_environmentHome = m_folder.Path() / "environment-home";
  uid_t m_user = getuid();
  std::string m_systemLog;
};

TEST_F(Settings, AreNotLoadedUntilAskedTo) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 1\n");
  EXPECT_EQ(Ask({"loaded", "logging", "load", "loaded", "logging"}), "no\noff\nyes\non\n");
}

TEST_F(Settings, AreOneInstanceForAllThreads) {
  EXPECT_EQ(Ask({"instances"}), "1\n");
}

TEST_F(Settings, LoggingIsOffWhenTheUserSaysZeroAndTheMachineThree) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 0\n");
  MachineFile("[Pkcs11]\nLogLevelPkcs11 = 3\n");
  EXPECT_EQ(Ask({"load", "logging", "int", "Pkcs11:LogLevelPkcs11", "9"}), "off\n0\n");
}

TEST_F(Settings, AKeyThatOnlyTheMachineHasIsHonoured) {
  UserFile("[Pkcs11]\nOther = 1\n");
  MachineFile("[Pkcs11]\nLogLevelPkcs11 = 3\n[Global]\nLogFile = /var/log/machine.log\n");
  EXPECT_EQ(Ask({"load", "logging", "int", "Pkcs11:LogLevelPkcs11", "9", "logPath"}), "on\n3\n/var/log/machine.log\n");
}

TEST_F(Settings, TheMachinesFileCountsWithoutAUserFile) {
  MachineFile("[Pkcs11]\nLogLevelPkcs11 = 2\n");
  EXPECT_EQ(Ask({"load", "logging", "int", "Pkcs11:LogLevelPkcs11", "9"}), "on\n2\n");
}

TEST_F(Settings, TheUserWinsKeyByKey) {
  UserFile("[Global]\nLogFile = /user.log\n");
  MachineFile("[Global]\nLogFile = /machine.log\nOther = machine\n");
  EXPECT_EQ(Ask({"load", "logPath", "string", "Global:Other", "none"}), "/user.log\nmachine\n");
}

TEST_F(Settings, AnEmptyValueOfTheUserStillWins) {
  UserFile("[Global]\nLogFile =\n");
  MachineFile("[Global]\nLogFile = /machine.log\n");
  EXPECT_EQ(Ask({"load", "logPath"}), "\n");
}

TEST_F(Settings, ATextIsReturnedAsItIsStored) {
  for (const std::string text :
       {"~/Documents/../token.log", "/a//b/./c/", "$HOME/%20x", "relative.log", "C:\\log", "a b  c"}) {
    UserFile("[Global]\nLogFile = " + text + "\n");
    EXPECT_EQ(Ask({"load", "logPath", "string", "Global:LogFile", "none"}), text + "\n" + text + "\n");
  }
  UserFile("[Global]\nLogFile = \"  in quotes  \"\n");
  EXPECT_EQ(Ask({"load", "logPath"}), "  in quotes  \n");
}

TEST_F(Settings, ASectionNamedLikeAKeyIsNoValueOfIt) {
  UserFile("[Pkcs11:LogLevelPkcs11]\n[Global:LogFile]\n");
  EXPECT_EQ(Ask({"load", "logging", "int", "Pkcs11:LogLevelPkcs11", "9", "string", "Global:LogFile", "none"}),
            "off\n9\nnone\n");
}

TEST_F(Settings, WithoutFilesLoggingIsOffAndThePathTheDefault) {
  EXPECT_EQ(Ask({"load", "loaded", "logging", "logPath"}),
            "yes\noff\n" + m_environmentHome + "/Documents/QELToken.log\n");
}

TEST_F(Settings, WithoutFilesEveryLookUpGivesItsDefault) {
  EXPECT_EQ(Ask({"load", "int", "A:B", "-7", "string", "A:B", "gr\u00fc\u00df"}), "-7\ngr\u00fc\u00df\n");
}

TEST_F(Settings, TheHomeIsThePasswordDatabasesNotTheEnvironments) {
  fs::create_directories(m_environmentHome + "/Library/Preferences");
  std::ofstream(m_environmentHome + "/Library/Preferences/Tarnwell.ini") << "[Pkcs11]\nLogLevelPkcs11 = 5\n";
  EXPECT_EQ(Ask({"load", "logging"}), "off\n");
}

TEST_F(Settings, TheHomeIsThatOfTheUserWhoRunsTheProcessWhoeverItActsAs) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\n");
  MachineFile("");
  EXPECT_EQ(Ask({"actAsAnother", "load", "logging"}), "on\n");
}

TEST_F(Settings, AUserWhomThePasswordDatabaseDoesNotKnowHasNoFile) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\n");
  MachineFile("[Global]\nLogFile = /machine.log\n");
  m_user = getuid() + 1;
  EXPECT_EQ(Ask({"load", "loaded", "logging", "logPath"}), "yes\noff\n/machine.log\n");
}

TEST_F(Settings, AUserWhomThePasswordDatabaseDoesNotKnowIsToldOfAMissingMachineFile) {
  m_user = getuid() + 1;
  EXPECT_EQ(Ask({"load", "loaded", "logging"}), "yes\noff\n");
  EXPECT_EQ(m_systemLog, "system log, error: iniparser: cannot open " QEL_LIBRARY_DIR "/Preferences/" QEL_VENDOR_ID
                         ".Tarnwell.ini|\n")
      << "NSLog cannot write a line for such a user";
}

struct LevelCase {
  const char* name;
  const char* text;
  const char* answers;
};

std::ostream& operator<<(std::ostream& out, const LevelCase& levelCase) {
  return out << levelCase.text;
}

class LogLevelValue : public Settings, public ::testing::WithParamInterface<LevelCase> {};

TEST_P(LogLevelValue, ReadsAsIniparserReadsIntegers) {
  UserFile(std::string("[Pkcs11]\nLogLevelPkcs11 = ") + GetParam().text + "\n");
  EXPECT_EQ(Ask({"load", "logging", "int", "Pkcs11:LogLevelPkcs11", "9"}), GetParam().answers);
}

INSTANTIATE_TEST_SUITE_P(
    All, LogLevelValue,
    ::testing::Values(LevelCase{"One", "1", "on\n1\n"}, LevelCase{"Zero", "0", "off\n0\n"},
                      LevelCase{"Negative", "-3", "off\n-3\n"}, LevelCase{"Hexadecimal", "0x10", "on\n16\n"},
                      LevelCase{"Octal", "010", "on\n8\n"}, LevelCase{"Fraction", "0.9", "off\n0\n"},
                      LevelCase{"Exponent", "1e3", "on\n1\n"}, LevelCase{"Quoted", "\"4\"", "on\n4\n"},
                      LevelCase{"Commented", "4 ; all", "on\n4\n"}, LevelCase{"Words", "everything", "off\n0\n"},
                      LevelCase{"NumberThenWords", "3 or so", "on\n3\n"}, LevelCase{"Empty", "", "off\n0\n"}),
    [](const auto& info) { return info.param.name; });

TEST_F(Settings, KeysMatchInAnyCase) {
  UserFile("[PKCS11]\nloglevelpkcs11 = 2\n");
  EXPECT_EQ(Ask({"load", "int", "Pkcs11:LogLevelPkcs11", "9"}), "2\n");
}

TEST_F(Settings, AValueThatIsNotUtf8IsNoString) {
  UserFile("[Global]\nLogFile = /caf\xe9.log\n");
  EXPECT_EQ(Ask({"load", "string", "Global:LogFile", "none"}), "nil\n");
}

TEST_F(Settings, AMalformedLineIsReportedAndItsFileCountsAsMissing) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\nnonsense\n");
  MachineFile("[Pkcs11]\nLogLevelPkcs11 = 3\n");
  EXPECT_EQ(Ask({"load", "int", "Pkcs11:LogLevelPkcs11", "9"}), "3\n");
  EXPECT_TRUE(SystemLogHas("iniparser: syntax error in " + m_home.string() + "/Library/Preferences/Tarnwell.ini (3):"))
      << m_systemLog;
}

TEST_F(Settings, AMalformedLineInAnyEncodingIsSurvived) {
  UserFile("[Pkcs11]\n\xff\xfe caf\xe9\n");
  EXPECT_EQ(Ask({"load", "logging"}), "off\n");
}

TEST_F(Settings, AMissingFileIsNamedInTheSystemLog) {
  Ask({"load"});
  EXPECT_TRUE(SystemLogHas("iniparser: cannot open " + m_home.string() + "/Library/Preferences/Tarnwell.ini"))
      << m_systemLog;
}

TEST_F(Settings, TheErrorCallbackWritesItsMessageAndReturnsZero) {
  EXPECT_EQ(Ask({"complain"}), "0\n");
  EXPECT_TRUE(SystemLogHas("complaint 7 about a file")) << m_systemLog;
}

TEST_F(Settings, AUserFileWithAPathOf1023BytesIsRead) {
  UserFilePathOfLength(1023);
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\n");
  EXPECT_EQ(Ask({"load", "logging"}), "on\n");
}

TEST_F(Settings, AUserFileWithAPathOf1024BytesIsSkippedSilently) {
  UserFilePathOfLength(1024);
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\n");
  MachineFile("[Global]\nLogFile = /machine.log\n");
  EXPECT_EQ(Ask({"load", "logging", "logPath"}), "off\n/machine.log\n");
  EXPECT_FALSE(SystemLogHas("iniparser")) << m_systemLog;
}

TEST_F(Settings, AUserFileThatIsSkippedLeavesWhatWasReadBefore) {
  UserFile("[Pkcs11]\nLogLevelPkcs11 = 5\n");
  EXPECT_EQ(Ask({"load", "logging", "home", std::string(1024, 'x'), "load", "logging"}), "on\non\n");
}

TEST_F(Settings, AReleasedInstanceFreesBothDictionaries) {
  UserFile("[A]\nB = 1\n");
  MachineFile("[A]\nC = 1\n");
  EXPECT_EQ(Ask({"release", "1"}), "0 of 2 left\n");
}

TEST_F(Settings, AnInstanceAndATextLeaveNoObjectBehind) {
  UserFile("[A]\nB = 1\n");
  MachineFile("[A]\nC = 1\n");
  EXPECT_EQ(Ask({"objects"}), "0 left\n");
}

TEST_F(Settings, AMessageForWhichNSLogRaisesLeavesNoObjectBehind) {
  EXPECT_EQ(Ask({"complaints that raise"}), "10 left\n") << "one each that NSLogv itself forgets";
  EXPECT_NE(m_systemLog.find("system log, error: complaint 7 about a file\n"), std::string::npos);
}

TEST_F(Settings, AReleasedInstanceWithoutFilesFreesNothing) {
  EXPECT_EQ(Ask({"release", "1"}), "0 of 0 left\n");
}

TEST_F(Settings, AnInstanceThatWasNeverLoadedFreesNothing) {
  UserFile("[A]\nB = 1\n");
  EXPECT_EQ(Ask({"release", "0"}), "0 of 0 left\n");
}

TEST_F(Settings, ASecondLoadReadsBothFilesAgainAndLeavesTheFirstDictionariesAlone) {
  UserFile("[A]\nB = 1\n");
  MachineFile("[A]\nC = 1\n");
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // what is left is what is tested
  EXPECT_EQ(Ask({"release", "2"}), "2 of 4 left\n");
  unsetenv("ASAN_OPTIONS");
}

}  // namespace
