#include "log/QELLog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/log/RecordingSink.h"
#include "tests/support/CapturedLog.h"

namespace {

using QELLog::LogLevel;

/// Leaves the process-wide logger as it began: no sink, threshold None.
class QELLogTest : public ::testing::Test {
 protected:
  ~QELLogTest() override {
    QELLog::SetLogger(nullptr);
    QELLog::SetLevel(LogLevel::None);
  }
};

TEST_F(QELLogTest, WithoutSinkAnInfoStreamIsDeadEvenAtTheBlanketThreshold) {
  QELLog::SetLevel(LogLevel::All);
  EXPECT_FALSE(QELLog::HasSetLogger());
  EXPECT_EQ(QELLog::GetLogger(), nullptr);
  EXPECT_FALSE(QELLog::Info().IsLive());
  EXPECT_EQ(QELLog::Enter("f.cc", 1, "f", LogLevel::Fatal), nullptr);
}

TEST_F(QELLogTest, OwnsASinkThatIsInstalledAsARawPointer) {
  bool died = false;
  auto* const sink = new RecordingSink(&died);
  QELLog::SetLogger(sink);
  EXPECT_TRUE(QELLog::HasSetLogger());
  EXPECT_EQ(QELLog::GetLogger().get(), sink);
  QELLog::SetLevel(LogLevel::Debug);
  EXPECT_NE(QELLog::Enter("f.cc", 1, "f", LogLevel::Fatal), nullptr) << "it is shared-owned, so tracing works";
  QELLog::SetLogger(std::make_shared<RecordingSink>());
  EXPECT_TRUE(died);
}

TEST_F(QELLogTest, EachShorthandWritesAtItsLevel) {
  const auto sink = std::make_shared<RecordingSink>();
  QELLog::SetLogger(sink);
  QELLog::SetLevel(LogLevel::All);
  EXPECT_EQ(QELLog::GetLevel(), LogLevel::All);
  QELLog::Fatal() << "1";
  QELLog::Error() << "2";
  QELLog::Warning() << "3";
  QELLog::Info() << "4";
  QELLog::Debug() << "5";
  QELLog::Secret() << "6";
  QELLog::Dynamic(LogLevel::Warning) << "7";
  EXPECT_EQ(sink->lines, (Lines{{LogLevel::Fatal, "1"},
                                {LogLevel::Error, "2"},
                                {LogLevel::Warning, "3"},
                                {LogLevel::Info, "4"},
                                {LogLevel::Debug, "5"},
                                {LogLevel::Warning, "7"}}));
}

TEST_F(QELLogTest, AtThresholdInfoADebugStreamIsDeadAndAnInfoStreamLive) {
  QELLog::SetLogger(std::make_shared<RecordingSink>());
  QELLog::SetLevel(LogLevel::Info);
  EXPECT_FALSE(QELLog::Debug().IsLive());
  EXPECT_TRUE(QELLog::Info().IsLive());
}

TEST_F(QELLogTest, AnInvalidThresholdIsReportedAndTheOldOneStays) {
  CapturedLog log(LogLevel::Warning);
  QELLog::SetLevel(static_cast<LogLevel>(8));
  EXPECT_EQ(QELLog::GetLevel(), LogLevel::Warning);
  EXPECT_EQ(log.Errors(), std::vector<std::string>{"Invalid LogLevel specified: 8. blanketLevelsValid: true"});
}

/// Counts what reaches it from any thread.
struct CountingSink : QELLog::LoggerImpl {
  explicit CountingSink(std::atomic<int>& count) : m_count(count) {}
  void Log(LogLevel, const std::string& text) override { m_count += text == "whole message 1" ? 1 : 1000000; }
  std::atomic<int>& m_count;
};

TEST_F(QELLogTest, ThreadsLogWhileOthersReplaceTheSinkAndNoMessageIsLost) {
  constexpr int kThreads = 4, kMessages = 2000;
  std::atomic<int> count{0};
  QELLog::SetLogger(std::make_shared<CountingSink>(count));
  QELLog::SetLevel(LogLevel::Info);

  std::atomic<bool> logging{true};
  std::vector<std::thread> replacers, loggers;
  for (int i = 0; i < 2; ++i) {
    replacers.emplace_back([&] {
      while (logging) QELLog::SetLogger(new CountingSink(count));
    });
  }
  for (int i = 0; i < kThreads; ++i) {
    loggers.emplace_back([] {
      for (int message = 0; message < kMessages; ++message) QELLog::Info() << "whole message " << 1;
    });
  }
  for (std::thread& thread : loggers) thread.join();
  logging = false;
  for (std::thread& thread : replacers) thread.join();
  EXPECT_EQ(count, kThreads * kMessages);
}

}  // namespace
