#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "log/QEL_LogImpl_File.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/tokenlog/LogFile.h"
#include "tests/tokenlog/ProviderTest.h"
#include "tests/tokenlog/ScopedLocale.h"

namespace {

using Texts = std::vector<std::string>;

/// A file provider that is configured for a file of the test's own.
class FileProvider : public ProviderTest {
 protected:
  FileProvider() { QEL_LogImpl_File::GetInterface(&m_log); }
  ~FileProvider() override { QEL_LogImpl_File::Configure("", 0, "C"); }

  void Configure(int level) { QEL_LogImpl_File::Configure(m_path.c_str(), level, "C"); }

  /// What a logger that is made now does with one message.
  Texts TextsOf(const wchar_t* name, const wchar_t* message) {
    const HLOGGER logger = Logger(name);
    m_log.info(logger, message);
    m_log.destroy(logger);
    return LogTexts(m_path);
  }

  void ExpectMessagesToBeLost(const std::filesystem::path& path) {
    m_path = path;
    Configure(5);
    const HLOGGER logger = Logger();
    WriteAll(logger);
    m_log.destroy(logger);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path()));
  }

  ScopedLocale m_locale{"C"};
  TemporaryDirectory m_folder;
  std::filesystem::path m_path = m_folder.Path() / "QELToken.log";
};

TEST_F(FileProvider, IgnoresANullInterface) {
  QEL_LogImpl_File::GetInterface(nullptr);
  EXPECT_NE(m_log.debug, nullptr);
}

TEST_F(FileProvider, StoresNoLoggerThroughANullPointer) {
  EXPECT_EQ(m_log.create(L"A", nullptr), 0);
}

TEST(CreateLogger, SwallowsAFailureToMakeALogger) {
  int untouched = 0;
  HLOGGER logger = &untouched;
  EXPECT_EQ(CreateLogger([](const wchar_t*) -> HLOGGER { throw std::bad_alloc(); }, L"A", &logger), 0);
  EXPECT_EQ(logger, &untouched);
}

TEST_F(FileProvider, WritesUpToTheLoggersLevel) {
  const Texts all{"FATAL QELToken - 1", "ERROR QELToken - 2", "WARN  QELToken - 3", "INFO  QELToken - 4",
                  "DEBUG QELToken - 5"};
  for (int level = 0; level <= 5; ++level) {
    Configure(level);
    const HLOGGER logger = Logger();
    WriteAll(logger);
    m_log.destroy(logger);
    EXPECT_EQ(LogTexts(m_path), Texts(all.begin(), all.begin() + level)) << "level " << level;
    std::filesystem::remove(m_path);
  }
}

TEST_F(FileProvider, AnswersTheQueriesByTheLoggersLevel) {
  for (int level = 0; level <= 6; ++level) {
    Configure(level);
    const HLOGGER logger = Logger();
    std::vector<int> expected;
    for (int query = 1; query <= 5; ++query) expected.push_back(level >= query ? 1 : 0);
    EXPECT_EQ(Queries(logger), expected) << "level " << level;
    m_log.destroy(logger);
  }
}

TEST_F(FileProvider, NamesItsLevelsAndNothingElse) {
  const char* const names[] = {"???", "FATAL", "ERROR", "WARN", "INFO", "DEBUG", "???"};
  for (int level = 0; level <= 6; ++level) EXPECT_STREQ(LogProviderLevelName(level), names[level]);
}

TEST_F(FileProvider, WritesALevelWithoutANameWithQuestionMarks) {
  Configure(6);
  QEL_LogImpl_File(L"A").Write(6, L"x");
  EXPECT_EQ(LogTexts(m_path), Texts{"???   A - x"});
}

TEST_F(FileProvider, CallsALoggerWithoutANameNull) {
  Configure(5);
  EXPECT_EQ(TextsOf(nullptr, L"x"), Texts{"INFO  null - x"});
}

TEST_F(FileProvider, CallsALoggerWithAnEmptyNameNull) {
  Configure(5);
  EXPECT_EQ(TextsOf(L"", L"x"), Texts{"INFO  null - x"});
}

TEST_F(FileProvider, WritesTheMessageAsItIs) {
  Configure(5);
  EXPECT_EQ(TextsOf(L"A", L" %d %ls \t "), Texts{"INFO  A -  %d %ls \t "});
}

TEST_F(FileProvider, WritesLineEndsAndOtherControlsAsTheyAre) {
  Configure(5);
  TextsOf(L"A", L"one\ntwo\r\n\a\x7f");
  const std::string content = Content(m_path);
  EXPECT_EQ(content.substr(content.find("INFO")), "INFO  A - one\ntwo\r\n\a\x7f\n");
}

TEST_F(FileProvider, WritesAnEmptyMessage) {
  Configure(5);
  EXPECT_EQ(TextsOf(L"A", L""), Texts{"INFO  A - "});
}

TEST_F(FileProvider, IgnoresANullMessage) {
  Configure(5);
  EXPECT_EQ(TextsOf(L"A", nullptr), Texts{});
}

TEST_F(FileProvider, WritesALineOfLocalTimeProcessThreadLevelNameAndMessage) {
  const ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const FakeClock clock(1709618889, 45999);  // 2024-03-05 06:08:09 UTC
  Configure(5);
  TextsOf(L"QELToken", L"Enter function");
  EXPECT_EQ(Content(m_path),
            "2024-03-05 07:08:09,045 [" + std::to_string(getpid()) + "-0] INFO  QELToken - Enter function\n");
}

TEST_F(FileProvider, WritesTheNumberOfTheProcessThatWrites) {
  Configure(5);
  const HLOGGER logger = Logger();
  m_log.info(logger, L"parent");
  std::filesystem::remove(m_path);
  const pid_t child = fork();
  if (child == 0) {
    m_log.info(logger, L"child");
    _exit(0);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_NE(Content(m_path).find(" [" + std::to_string(child) + "-0] INFO  QELToken - child\n"), std::string::npos);
  m_log.destroy(logger);
}

TEST_F(FileProvider, PadsEveryNumberOfTheTime) {
  const ScopedTimeZone zone("UTC0");
  const FakeClock clock(-61000000001, 1000);
  Configure(5);
  TextsOf(L"A", L"x");
  EXPECT_EQ(Content(m_path).substr(0, 24), "0036-12-26 11:33:19,001 ");
}

TEST_F(FileProvider, ReadsTheClockOnceForALine) {
  const FakeClock clock(1709618889, 45999);
  Configure(5);
  TextsOf(L"A", L"x");
  EXPECT_EQ(clock.Reads(), 1);
}

TEST_F(FileProvider, ReadsTheClockAndThenWaitsForTheLineBefore) {
  const std::filesystem::path pipe = m_folder.Path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  QEL_LogImpl_File::Configure(pipe.c_str(), 5, "C");
  const HLOGGER waiting = Logger();
  Configure(5);
  const HLOGGER next = Logger();

  const FakeClock clock(1709618889, 45999);
  const auto waitForReads = [&](int reads) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (clock.Reads() < reads && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return clock.Reads();
  };
  std::thread first([&] { m_log.info(waiting, L"x"); });  // waits, with the provider, until somebody reads
  EXPECT_EQ(waitForReads(1), 1);
  std::thread second([&] { m_log.info(next, L"y"); });
  EXPECT_EQ(waitForReads(2), 2);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(std::filesystem::exists(m_path)) << "a line waits until the one before it is written";
  const int reader = open(pipe.c_str(), O_RDONLY);
  first.join();
  second.join();
  close(reader);
  m_log.destroy(waiting);
  m_log.destroy(next);
  EXPECT_EQ(LogTexts(m_path), Texts{"INFO  QELToken - y"});
}

TEST_F(FileProvider, ReadsNoClockForAMessageThatIsNotWritten) {
  const FakeClock clock(1709618889, 45999);
  Configure(3);
  EXPECT_EQ(TextsOf(L"A", L"x"), Texts{});
  EXPECT_EQ(clock.Reads(), 0);
}

TEST_F(FileProvider, LeavesExistingLoggersAloneWhenConfiguredAgain) {
  Configure(3);
  const HLOGGER logger = Logger();
  QEL_LogImpl_File::Configure((m_folder.Path() / "other.log").c_str(), 5, "C");
  WriteAll(logger);
  m_log.destroy(logger);
  EXPECT_EQ(LogTexts(m_path), (Texts{"FATAL QELToken - 1", "ERROR QELToken - 2", "WARN  QELToken - 3"}));
  EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "other.log"));
}

TEST_F(FileProvider, LeavesTheLocaleAloneAtLevelZero) {
  QEL_LogImpl_File::Configure(m_path.c_str(), 0, Utf8Locale());
  EXPECT_EQ(ScopedLocale::Current(), "C");
}

TEST_F(FileProvider, SetsTheLocaleOfAllCategoriesAboveLevelZero) {
  QEL_LogImpl_File::Configure(m_path.c_str(), 1, Utf8Locale());
  EXPECT_EQ(ScopedLocale::Current(), Utf8Locale());
  EXPECT_STREQ(std::setlocale(LC_TIME, nullptr), Utf8Locale());
}

TEST_F(FileProvider, WritesInTheLocalesEncoding) {
  QEL_LogImpl_File::Configure(m_path.c_str(), 5, Utf8Locale());
  EXPECT_EQ(TextsOf(L"K\u00e4rtchen", L"gr\u00fc\u00df \u20ac \U0001F511"),
            Texts{"INFO  K\u00e4rtchen - gr\u00fc\u00df \u20ac \U0001F511"});
}

TEST_F(FileProvider, AppendsToWhatTheFileHolds) {
  Configure(5);
  std::ofstream(m_path) << "before\n";
  TextsOf(L"A", L"x");
  EXPECT_EQ(Content(m_path).substr(0, 7), "before\n");
  EXPECT_EQ(LogTexts(m_path), (Texts{"damaged", "INFO  A - x"}));
}

TEST_F(FileProvider, MakesTheFileAgainAfterItWasDeleted) {
  Configure(5);
  const HLOGGER logger = Logger();
  m_log.info(logger, L"first");
  std::filesystem::remove(m_path);
  m_log.info(logger, L"second");
  m_log.destroy(logger);
  EXPECT_EQ(LogTexts(m_path), Texts{"INFO  QELToken - second"});
}

TEST_F(FileProvider, MakesANewFileAfterTheOldOneWasMoved) {
  Configure(5);
  const HLOGGER logger = Logger();
  m_log.info(logger, L"first");
  std::filesystem::rename(m_path, m_folder.Path() / "old.log");
  m_log.info(logger, L"second");
  m_log.destroy(logger);
  EXPECT_EQ(LogTexts(m_folder.Path() / "old.log"), Texts{"INFO  QELToken - first"});
  EXPECT_EQ(LogTexts(m_path), Texts{"INFO  QELToken - second"});
}

TEST_F(FileProvider, WritesAgainOnceTheFolderIsThere) {
  m_path = m_folder.Path() / "Documents" / "QELToken.log";
  Configure(5);
  const HLOGGER logger = Logger();
  m_log.info(logger, L"lost");
  EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "Documents"));
  std::filesystem::create_directory(m_folder.Path() / "Documents");
  m_log.info(logger, L"written");
  m_log.destroy(logger);
  EXPECT_EQ(LogTexts(m_path), Texts{"INFO  QELToken - written"});
}

TEST_F(FileProvider, LosesMessagesForAFullDisk) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "this system has no device that is always full";
  ExpectMessagesToBeLost("/dev/full");
}

TEST_F(FileProvider, LosesMessagesForAPathThatIsAFolder) {
  ExpectMessagesToBeLost(m_folder.Path());
}

TEST_F(FileProvider, LosesMessagesForAnEmptyPath) {
  ExpectMessagesToBeLost("");
}

TEST_F(FileProvider, LeavesNoDescriptorOpen) {
  Configure(5);
  const auto openDescriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"), std::filesystem::directory_iterator());
  };
  const auto before = openDescriptors();
  for (int i = 0; i < 50; ++i) TextsOf(L"A", L"x");
  EXPECT_EQ(openDescriptors(), before);
}

/// How often this process has called write.
long WriteCalls() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  long value = 0;
  while (counters >> name >> value) {
    if (name == "syscw:") return value;
  }
  ADD_FAILURE() << "the system does not count";
  return 0;
}

TEST_F(FileProvider, WritesALineOfAnyLengthWithOneCall) {
  if (!std::filesystem::exists("/proc/self/io")) GTEST_SKIP() << "this system does not count a process's writes";
  Configure(5);
  const auto writesFor = [&](size_t length) {
    const HLOGGER logger = Logger();
    const std::wstring text(length, L'x');
    const long before = WriteCalls();
    m_log.info(logger, text.c_str());
    const long writes = WriteCalls() - before;
    m_log.destroy(logger);
    return writes;
  };
  writesFor(1);  // where a sanitizer looks at an object for the first time, it writes to a pipe of its own
  for (const size_t length : {1u, 100u, 5000u, 70000u}) EXPECT_EQ(writesFor(length), 1) << length << " characters";
}

TEST_F(FileProvider, HandleBeginsWithSizeMagicLevelPathAndName) {
  struct Record {  // the layout that a handle points to
    uint64_t size;
    uint64_t magic;
    int level;
    std::string path;
    std::wstring name;
  };
  Configure(4);
  const HLOGGER logger = Logger(L"N");
  EXPECT_EQ(sizeof(QEL_LogImpl_File), sizeof(Record));
  const auto* const record = static_cast<const Record*>(logger);
  EXPECT_EQ(record->size, sizeof(Record));
  EXPECT_EQ(record->magic, 1029623037u);
  EXPECT_EQ(record->level, 4);
  EXPECT_EQ(record->path, m_path.string());
  EXPECT_EQ(record->name, L"N");
  m_log.destroy(logger);
}

TEST_F(FileProvider, DoesNothingWithAHandleThatIsNoLoggerOfItsOwn) {
  Configure(5);
  ExpectImpostorsRefused<QEL_LogImpl_File>(kLogFileRecordMagic);
  uint64_t foreignWord = 1;
  ExpectRefused<QEL_LogImpl_File>(&foreignWord);
  EXPECT_EQ(LogTexts(m_path), Texts{});
}

TEST_F(FileProvider, KeepsTheLinesOfEightThreadsWhole) {
  constexpr int kThreads = 8;
  constexpr int kLines = 100;
  Configure(5);
  const HLOGGER logger = Logger();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this, logger, thread] {
      const std::wstring text(50 + thread * 1000, static_cast<wchar_t>(L'a' + thread));
      for (int line = 0; line < kLines; ++line) m_log.info(logger, text.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();
  m_log.destroy(logger);

  std::array<int, kThreads> lines{};
  for (const LogLine& line : LogLines(m_path)) {
    ASSERT_TRUE(line.whole);
    const int thread = line.message.at(0) - 'a';
    ASSERT_TRUE(line.message == std::string(50 + thread * 1000, static_cast<char>('a' + thread)));
    ++lines.at(thread);
  }
  for (const int count : lines) EXPECT_EQ(count, kLines);
}

TEST_F(FileProvider, MayBeConfiguredWhileThreadsWrite) {
  Configure(5);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int line = 0; line < 100; ++line) {
        const HLOGGER logger = Logger();
        m_log.fatal(logger, L"x");
        m_log.destroy(logger);
      }
    });
  }
  for (int i = 0; i < 200; ++i) Configure(1 + i % 5);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(LogTexts(m_path), Texts(400, "FATAL QELToken - x"));
}

TEST_F(FileProvider, LoggerIsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<QEL_LogImpl_File>);
  EXPECT_FALSE(std::is_copy_assignable_v<QEL_LogImpl_File>);
}

}  // namespace
