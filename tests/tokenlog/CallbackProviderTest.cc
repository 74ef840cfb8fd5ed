#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "log/InstalledInterface.h"
#include "log/LogClient.h"
#include "log/QEL_LogImpl_Callback.h"
#include "log/QEL_LogImpl_File.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/tokenlog/LogFile.h"
#include "tests/tokenlog/ProviderTest.h"
#include "tests/tokenlog/ScopedLocale.h"
#include "util/QELIconv.h"

namespace {

using Level = QEL_LogImpl_Callback::LogLevel;
using Texts = std::vector<std::string>;

std::mutex g_mutex;
Texts g_texts;

void Collect(Level level, const char* name, const char* message) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_texts.push_back(QEL_LogImpl_Callback::LogLevelToString(level) + " " + name + " - " + message);
}

void CollectElsewhere(Level, const char*, const char* message) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_texts.push_back(std::string("elsewhere: ") + message);
}

class CallbackProvider : public ProviderTest {
 protected:
  CallbackProvider() {
    g_texts.clear();
    QEL_LogImpl_Callback::GetInterface(&m_log);
  }
  ~CallbackProvider() override {
    QEL_LogImpl_Callback::Configure(nullptr, Level::Off, "C");
    QELIconv::SetDefaultEncoding("UTF-8");
  }

  ScopedLocale m_locale{"C"};
};

TEST_F(CallbackProvider, ALoggerMadeBeforeConfigureNeverCallsAnything) {
  const HLOGGER logger = Logger(L"N");
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  WriteAll(logger);
  EXPECT_EQ(Queries(logger), std::vector<int>(5, 0));
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, Texts{});
}

TEST_F(CallbackProvider, PassesMessagesUpToTheLoggersLevel) {
  const Texts all{"FATAL N - 1", "ERROR N - 2", "WARN N - 3", "INFO N - 4", "DEBUG N - 5"};
  for (int level = 0; level <= 5; ++level) {
    g_texts.clear();
    QEL_LogImpl_Callback::Configure(Collect, static_cast<Level>(level), "C");
    const HLOGGER logger = Logger(L"N");
    WriteAll(logger);
    m_log.destroy(logger);
    EXPECT_EQ(g_texts, Texts(all.begin(), all.begin() + level)) << "level " << level;
  }
}

TEST_F(CallbackProvider, AnswersTheQueriesByTheLoggersLevel) {
  for (int level = 0; level <= 5; ++level) {
    QEL_LogImpl_Callback::Configure(Collect, static_cast<Level>(level), "C");
    const HLOGGER logger = Logger(L"N");
    std::vector<int> expected;
    for (int query = 1; query <= 5; ++query) expected.push_back(level >= query ? 1 : 0);
    EXPECT_EQ(Queries(logger), expected) << "level " << level;
    m_log.destroy(logger);
  }
}

TEST_F(CallbackProvider, WithoutACallbackWritesNothing) {
  QEL_LogImpl_Callback::Configure(nullptr, Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  WriteAll(logger);
  EXPECT_EQ(Queries(logger), std::vector<int>(5, 1));
  m_log.destroy(logger);
}

TEST_F(CallbackProvider, ForgetsTheCallbackThatIsTakenBack) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  QEL_LogImpl_Callback::Configure(nullptr, Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  WriteAll(logger);
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, Texts{});
}

TEST_F(CallbackProvider, NamesALoggerOfNoCharactersSo) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Fatal, "C");
  const HLOGGER logger = Logger(L"");
  m_log.fatal(logger, L"x");
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, Texts{"FATAL  - x"});
}

TEST_F(CallbackProvider, LeavesExistingLoggersAloneWhenConfiguredAgain) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Error, "C");
  const HLOGGER logger = Logger(L"N");
  QEL_LogImpl_Callback::Configure(CollectElsewhere, Level::Debug, "C");
  WriteAll(logger);
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, (Texts{"FATAL N - 1", "ERROR N - 2"}));
}

TEST_F(CallbackProvider, TwoProvidersWorkSideBySide) {
  const TemporaryDirectory folder;
  const auto path = folder.Path() / "file.log";
  QEL_LogInterface file{};
  QEL_LogImpl_File::GetInterface(&file);
  QEL_LogImpl_File::Configure(path.c_str(), 5, "C");
  QEL_LogImpl_Callback::Configure(Collect, Level::Warning, "C");

  InstalledInterface::Install(&file);
  const LogClient toFile(L"F");
  InstalledInterface::Install(&m_log);
  const LogClient toCallback(L"C");
  InstalledInterface::Install(nullptr);

  std::vector<std::thread> threads;
  for (const LogClient* client : {&toFile, &toCallback}) {
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([client] {
        for (int line = 0; line < 50; ++line) {
          client->Warning(L"w");
          client->Info(L"i");
        }
      });
    }
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(g_texts, Texts(100, "WARN C - w"));
  EXPECT_EQ(LogTexts(path).size(), 200u);
  QEL_LogImpl_File::Configure("", 0, "C");
}

TEST_F(CallbackProvider, TwoCallbacksWorkSideBySide) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  const HLOGGER one = Logger(L"N");
  QEL_LogImpl_Callback::Configure(CollectElsewhere, Level::Error, "C");
  const HLOGGER other = Logger(L"N");
  m_log.error(one, L"x");
  m_log.error(other, L"y");
  m_log.debug(other, L"dropped");
  m_log.destroy(one);
  m_log.destroy(other);
  EXPECT_EQ(g_texts, (Texts{"ERROR N - x", "elsewhere: y"}));
}

TEST_F(CallbackProvider, HoldsNoLockDuringTheCallback) {
  QEL_LogImpl_Callback::Configure(
      [](Level level, const char* name, const char* message) {
        QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
        const QEL_LogImpl_Callback inner(L"inner");
        Collect(level, name, message);
        inner.Write(Level::Info, L"from within");
      },
      Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  m_log.error(logger, L"x");
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, (Texts{"ERROR N - x", "INFO inner - from within"}));
}

TEST_F(CallbackProvider, LetsThreadsCallAtTheSameTime) {
  static std::atomic<int> inside{0};
  inside = 0;
  QEL_LogImpl_Callback::Configure(
      [](Level, const char*, const char*) {
        ++inside;
        while (inside < 2) std::this_thread::yield();  // ends only when the other thread is in here as well
      },
      Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  std::thread other([&] { m_log.info(logger, L"x"); });
  m_log.info(logger, L"y");
  other.join();
  m_log.destroy(logger);
  EXPECT_EQ(inside, 2);
}

TEST_F(CallbackProvider, MayBeConfiguredWhileThreadsWrite) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int line = 0; line < 50; ++line) {
        const HLOGGER logger = Logger(L"N");
        m_log.fatal(logger, L"x");
        m_log.destroy(logger);
      }
    });
  }
  for (int i = 0; i < 100; ++i) QEL_LogImpl_Callback::Configure(Collect, static_cast<Level>(1 + i % 5), "C");
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(g_texts, Texts(200, "FATAL N - x"));
}

TEST_F(CallbackProvider, NarrowsNameAndMessageToTheDefaultEncoding) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  const HLOGGER inUtf8 = Logger(L"K\u00e4rtchen");
  m_log.info(inUtf8, L"gr\u00fc\u00df");
  QELIconv::SetDefaultEncoding("ISO-8859-1");
  const HLOGGER inLatin1 = Logger(L"K\u00e4rtchen");
  m_log.info(inLatin1, L"gr\u00fc\u00df");
  m_log.destroy(inUtf8);
  m_log.destroy(inLatin1);
  EXPECT_EQ(g_texts, (Texts{"INFO K\u00e4rtchen - gr\u00fc\u00df", "INFO K\xe4rtchen - gr\xfc\xdf"}));
}

TEST_F(CallbackProvider, EscapesWhatTheEncodingLacks) {
  QELIconv::SetDefaultEncoding("ISO-8859-1");
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  m_log.info(logger, L"5 \u20ac");
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, Texts{"INFO N - 5 '\\x20ac'"});
}

TEST_F(CallbackProvider, LeavesTheLocaleAloneAtLevelOff) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Off, Utf8Locale());
  EXPECT_EQ(ScopedLocale::Current(), "C");
}

TEST_F(CallbackProvider, SetsTheLocaleOfAllCategoriesAboveLevelOff) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Fatal, Utf8Locale());
  EXPECT_EQ(ScopedLocale::Current(), Utf8Locale());
}

TEST_F(CallbackProvider, IgnoresANullInterface) {
  QEL_LogImpl_Callback::GetInterface(nullptr);
  EXPECT_NE(m_log.debug, nullptr);
}

TEST_F(CallbackProvider, StoresNoLoggerThroughANullPointer) {
  EXPECT_EQ(m_log.create(L"N", nullptr), 0);
}

TEST_F(CallbackProvider, SwallowsWhatTheConstructorThrows) {
  int untouched = 0;
  HLOGGER logger = &untouched;
  EXPECT_EQ(m_log.create(nullptr, &logger), 0);
  QELIconv::SetDefaultEncoding("no such encoding");
  EXPECT_EQ(m_log.create(L"N", &logger), 0);
  EXPECT_EQ(logger, &untouched);
}

TEST_F(CallbackProvider, IgnoresANullMessage) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  const HLOGGER logger = Logger(L"N");
  m_log.info(logger, nullptr);
  m_log.destroy(logger);
  EXPECT_EQ(g_texts, Texts{});
}

TEST_F(CallbackProvider, NamesItsLevelsAndNothingElse) {
  const char* const names[] = {"???", "FATAL", "ERROR", "WARN", "INFO", "DEBUG", "???"};
  for (int level = 0; level <= 6; ++level) {
    EXPECT_EQ(QEL_LogImpl_Callback::LogLevelToString(static_cast<Level>(level)), names[level]);
  }
}

TEST_F(CallbackProvider, HandleIsTheObjectsAddress) {
  QEL_LogImpl_Callback logger(L"N");
  EXPECT_EQ(logger.ToHandle(), static_cast<void*>(&logger));
  EXPECT_EQ(QEL_LogImpl_Callback::FromHandle(&logger), &logger);
}

TEST_F(CallbackProvider, HandleBeginsWithSizeMagicLevelNameAndCallback) {
  struct Record {  // the layout that a handle points to
    uint64_t size;
    uint64_t magic;
    int level;
    std::string name;
    QEL_LogImpl_Callback::Callback callback;
  };
  QEL_LogImpl_Callback::Configure(Collect, Level::Info, "C");
  QEL_LogImpl_Callback logger(L"N");
  EXPECT_EQ(sizeof(QEL_LogImpl_Callback), sizeof(Record));
  const auto* const record = static_cast<const Record*>(logger.ToHandle());
  EXPECT_EQ(record->size, sizeof(Record));
  EXPECT_EQ(record->magic, 716047771u);
  EXPECT_EQ(record->level, 4);
  EXPECT_EQ(record->name, "N");
  EXPECT_EQ(record->callback, &Collect);
}

TEST_F(CallbackProvider, DoesNothingWithAHandleThatIsNoLoggerOfItsOwn) {
  QEL_LogImpl_Callback::Configure(Collect, Level::Debug, "C");
  ExpectImpostorsRefused<QEL_LogImpl_Callback>(kLogCallbackRecordMagic);
  QEL_LogImpl_File ofTheOtherProvider(L"F");
  ExpectRefused<QEL_LogImpl_Callback>(ofTheOtherProvider.ToHandle());
  EXPECT_EQ(g_texts, Texts{});
}

TEST_F(CallbackProvider, LoggerIsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<QEL_LogImpl_Callback>);
  EXPECT_FALSE(std::is_copy_assignable_v<QEL_LogImpl_Callback>);
}

}  // namespace
