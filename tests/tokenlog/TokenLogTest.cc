#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/tokenlog/LogFile.h"
#include "tests/tokenlog/ScopedLocale.h"

namespace {

namespace fs = std::filesystem;
using Commands = std::vector<std::string>;
using Texts = std::vector<std::string>;

/// A user with a home folder that has a Documents folder, in an environment with a UTF-8 locale.
class TokenLog : public ::testing::Test {
 protected:
  TokenLog() { fs::create_directory(m_documents); }

  /// Runs a process that does `commands`; returns what it prints, without the closing "done".
  std::string Do(const Commands& commands) {
    const ChildResult child = RunChild(TOKEN_LOG_PROBE, commands, m_environment);
    EXPECT_EQ(child.exitStatus, 0) << child.errors;
    EXPECT_EQ(child.errors, "");
    const std::string end = "done\n";
    EXPECT_GE(child.output.size(), end.size());
    EXPECT_EQ(child.output.substr(child.output.size() - end.size()), end);
    return child.output.substr(0, child.output.size() - end.size());
  }

  Texts Lines() const { return LogTexts(m_log); }

  /// Expects the log to hold, for each of `letters`, this many lines of that letter alone, each `length` long.
  void ExpectLetters(const std::string& letters, size_t length, int linesEach) const {
    std::map<char, int> lines;
    for (const LogLine& line : LogLines(m_log)) {
      ASSERT_TRUE(line.whole);
      ASSERT_TRUE(line.message == std::string(length, line.message.at(0))) << line.message.size() << " characters";
      ++lines[line.message.at(0)];
    }
    for (const char letter : letters) EXPECT_EQ(lines[letter], linesEach) << letter;
    EXPECT_EQ(lines.size(), letters.size());
  }

  /// Lets two processes write at once, so many lines of such a length each, and expects every line to be whole.
  void ExpectTwoProcessesToKeepTheirLinesWhole(int lines, int length) {
    const auto write = [&](const char* letter) {
      return std::async(std::launch::async, [=] {
        Do({"start", "repeat", std::to_string(lines), std::to_string(length), letter});
      });
    };
    auto one = write("a");
    auto other = write("b");
    one.get();
    other.get();
    ExpectLetters("ab", length, lines);
  }

  TemporaryDirectory m_folder;
  fs::path m_home = m_folder.Path();
  fs::path m_documents = m_home / "Documents";
  fs::path m_log = m_documents / "QELToken.log";
  ChildEnvironment m_environment{{"HOME", m_home.string()}, {"LC_ALL", Utf8Locale()}};
};

// Starting

TEST_F(TokenLog, WritesNoFileBeforeItIsStarted) {
  EXPECT_EQ(Do({"hasSink", "level", "client", "log", "1", "x", "setLevel", "7", "log", "4", "y"}),
            "no sink\nlevel 0\nclient without a logger\n");
  EXPECT_FALSE(fs::exists(m_log));
}

TEST_F(TokenLog, WritesNothingThroughItsSinkBeforeItIsStarted) {
  Do({"sink", "1", "x"});
  EXPECT_FALSE(fs::exists(m_log));
}

TEST_F(TokenLog, HasTheProviderOffBeforeItIsStarted) {
  EXPECT_EQ(Do({"fileLevel", "start", "fileLevel"}), "file level off\nfile level on\n");
}

TEST_F(TokenLog, WritesNoFileByBeingStartedAlone) {
  EXPECT_EQ(Do({"start", "hasSink", "level", "client"}), "sink\nlevel 5\nclient with a logger\n");
  EXPECT_FALSE(fs::exists(m_log));
}

TEST_F(TokenLog, AppendsOneLineToTheFileInDocuments) {
  Do({"start", "log", "4", "x"});
  const std::string content = Content(m_log);
  ASSERT_GE(content.size(), 21u);
  EXPECT_EQ(content.substr(content.size() - 21), "] INFO  QELToken - x\n");
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - x"});
}

TEST_F(TokenLog, WritesFatalToDebugAndNeverSecrets) {
  Do({"start", "setLevel", "7", "log", "1",   "a", "log", "2",   "b", "log", "3",
      "c",     "log",      "4", "d",   "log", "5", "e",   "log", "6", "f"});
  EXPECT_EQ(Lines(), (Texts{"FATAL QELToken - a", "ERROR QELToken - b", "WARN  QELToken - c", "INFO  QELToken - d",
                            "DEBUG QELToken - e"}));
}

TEST_F(TokenLog, SinkDropsSecretsAndLevelsThatNoMessageHas) {
  Do({"start", "sink", "0", "none", "sink", "6", "secret", "sink", "7", "all", "sink", "8", "eight", "sink", "5",
      "kept"});
  EXPECT_EQ(Lines(), Texts{"DEBUG QELToken - kept"});
}

TEST_F(TokenLog, IsNamedQELTokenWhateverThePrefix) {
  Do({"prefix", "start", "log", "4", "x", "installed"});
  EXPECT_EQ(Lines(), (Texts{"INFO  QELToken - x", "DEBUG Prefix.Other - from another client"}));
}

TEST_F(TokenLog, MayBeStartedAgain) {
  EXPECT_EQ(Do({"start", "log", "4", "first", "start", "log", "4", "second", "level"}), "level 5\n");
  EXPECT_EQ(Lines(), (Texts{"INFO  QELToken - first", "INFO  QELToken - second"}));
}

TEST_F(TokenLog, SetsUpAllOfItWhenStartedAgain) {
  EXPECT_EQ(Do({"start", "otherProvider", "start", "log", "4", "x", "installed", "fileLevel"}), "file level on\n");
  EXPECT_EQ(Lines(), (Texts{"INFO  QELToken - x", "DEBUG Other - from another client"}));
}

TEST_F(TokenLog, LeavesTheLevelAloneWhenStartedAgain) {
  EXPECT_EQ(Do({"start", "setLevel", "2", "start", "level", "log", "4", "dropped", "log", "2", "kept"}), "level 2\n");
  EXPECT_EQ(Lines(), Texts{"ERROR QELToken - kept"});
}

TEST_F(TokenLog, LeavesASinkAndItsLevelAloneButSetsUpTheRest) {
  EXPECT_EQ(Do({"ownSink", "setLevel", "3", "start", "level", "log", "3", "x", "client"}),
            "level 3\nprinted 3 x\nclient with a logger\n");
  EXPECT_EQ(Lines(), Texts{});
}

TEST_F(TokenLog, InstallsTheProviderEvenBesideAnotherSink) {
  Do({"ownSink", "start", "installed", "sink", "4", "through the client"});
  EXPECT_EQ(Lines(), (Texts{"DEBUG Other - from another client", "INFO  QELToken - through the client"}));
}

// Tracing

TEST_F(TokenLog, TracesAFunctionThatReturns) {
  Do({"start", "scope", "returns"});
  EXPECT_EQ(Lines(), (Texts{"DEBUG QELToken - Enter function function at file.cc:120", "INFO  QELToken - inside",
                            "DEBUG QELToken - Exit function function, entered at file.cc:120"}));
}

TEST_F(TokenLog, TracesAFunctionThatAnExceptionLeaves) {
  Do({"start", "scope", "inFlight"});
  EXPECT_EQ(Lines(),
            (Texts{"DEBUG QELToken - Enter function function at file.cc:120", "INFO  QELToken - inside",
                   "DEBUG QELToken - Exit function function, entered at file.cc:120, while an exception is in flight",
                   "INFO  QELToken - caught"}));
}

// Path

TEST_F(TokenLog, PathIsHomeWithDocumentsAndTheFileName) {
  EXPECT_EQ(Do({"path"}), m_log.string() + "\n");
}

TEST_F(TokenLog, PathStaysAsItWasWhenTheProgramWasLoaded) {
  EXPECT_EQ(Do({"home", "/nowhere", "path", "start", "log", "4", "x"}), m_log.string() + "\n");
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - x"});
}

// What only loses messages

TEST_F(TokenLog, SurvivesAMissingHome) {
  m_environment["HOME"] = std::nullopt;
  EXPECT_EQ(Do({"path", "start", "log", "4", "x"}), "/Documents/QELToken.log\n");
}

TEST_F(TokenLog, SurvivesAMissingDocumentsFolder) {
  fs::remove(m_documents);
  Do({"start", "log", "4", "x"});
  EXPECT_FALSE(fs::exists(m_documents));
}

TEST_F(TokenLog, SurvivesADocumentsThatIsAFile) {
  fs::remove(m_documents);
  std::ofstream(m_documents) << "a file";
  Do({"start", "log", "4", "x"});
  EXPECT_EQ(Content(m_documents), "a file");
}

TEST_F(TokenLog, SurvivesAReadOnlyFolder) {
  fs::permissions(m_home, fs::perms::all);
  fs::permissions(m_documents,
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
  Do({"dropPrivileges", "start", "log", "4", "x"});
  EXPECT_FALSE(fs::exists(m_log));
}

TEST_F(TokenLog, SurvivesAReadOnlyFile) {
  std::ofstream(m_log) << "kept\n";
  fs::permissions(m_home, fs::perms::all);
  fs::permissions(m_log, fs::perms::owner_read | fs::perms::others_read);
  Do({"dropPrivileges", "start", "log", "4", "x"});
  EXPECT_EQ(Content(m_log), "kept\n");
}

TEST_F(TokenLog, SurvivesAFullDisk) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "this system has no device that is always full";
  fs::create_symlink("/dev/full", m_log);
  Do({"start", "log", "4", "x", "threads", "5"});
}

TEST_F(TokenLog, SurvivesAFileThatIsDeletedBetweenLines) {
  Do({"start", "log", "4", "gone", "remove", "log", "4", "x"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - x"});
}

TEST_F(TokenLog, SurvivesASystemThatHasNoConverterForTheText) {
  Do({"start", "log", "4", "before", "noConverter", "log", "4", "x", "scope", "returns"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - before"});
}

// Characters

TEST_F(TokenLog, WritesTextInTheEnvironmentsEncoding) {
  Do({"start", "log", "4", "gr\u00fc\u00df \u20ac \U0001F511"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - gr\u00fc\u00df \u20ac \U0001F511"});
}

TEST_F(TokenLog, TakesItsTextForUtf8WhateverTheDefaultEncoding) {
  Do({"encoding", "ISO-8859-1", "start", "log", "4", "gr\u00fc\u00df"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - gr\u00fc\u00df"});
}

TEST_F(TokenLog, EscapesWhatIsNotUtf8) {
  Do({"start", "log", "4",
      "a\xff"
      "b"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - a'\\xff'b"});
}

TEST_F(TokenLog, WritesAQuestionMarkForWhatTheLocaleLacks) {
  m_environment["LC_ALL"] = "C";
  Do({"start", "log", "4", "5 \u20ac each", "log", "4", "plain"});
  EXPECT_EQ(Lines(), (Texts{"INFO  QELToken - 5 ? each", "INFO  QELToken - plain"}));
}

TEST_F(TokenLog, WritesPlainTextUnderALocaleThatDoesNotExist) {
  m_environment["LC_ALL"] = "xx_XX.none";
  Do({"start", "log", "4", "plain"});
  EXPECT_EQ(Lines(), Texts{"INFO  QELToken - plain"});
}

TEST_F(TokenLog, WritesAMessageOfAMegabyteWhole) {
  Do({"start", "repeat", "2", "1000000", "x"});
  EXPECT_TRUE(Lines() == Texts(2, "INFO  QELToken - " + std::string(1000000, 'x')));
}

// Threads and processes

TEST_F(TokenLog, KeepsTheLinesOfEightThreadsWhole) {
  Do({"start", "threads", "50"});
  ExpectLetters("abcdefgh", 100, 50);
}

TEST_F(TokenLog, KeepsTheLinesOfTwoProcessesWhole) {
  ExpectTwoProcessesToKeepTheirLinesWhole(300, 200);
}

TEST_F(TokenLog, KeepsLongLinesOfTwoProcessesWhole) {
  ExpectTwoProcessesToKeepTheirLinesWhole(60, 50000);
}

// Exit

TEST_F(TokenLog, WritesWhatLaterStaticsLogAtExitAndDropsWhatEarlierOnesDo) {
  m_environment["QEL_TEST_LOG_AT_EXIT"] = "before the token log, after all other statics";
  Do({"start", "staticLogger", "log", "4", "x"});
  EXPECT_EQ(Lines(), (Texts{"INFO  QELToken - x", "ERROR QELToken - before the token log"}));
}

TEST_F(TokenLog, LeavesASinkThatIsNotItsOwnInPlaceAtExit) {
  m_environment["QEL_TEST_LOG_AT_EXIT"] = "before the token log";
  const ChildResult child =
      RunChild(TOKEN_LOG_PROBE, {"ownSink", "setLevel", "5", "start", "staticLogger"}, m_environment);
  EXPECT_EQ(child.exitStatus, 0);
  EXPECT_EQ(child.output, "done\nprinted 2 before the token log\n");
}

}  // namespace
