#include "log/Logger.h"

#include <gtest/gtest.h>

#include <iomanip>

#include "tests/log/RecordingSink.h"
#include "tests/support/CountedAllocations.h"

namespace {

using QELLog::Logger;
using QELLog::LogLevel;

constexpr LogLevel kMessageLevels[] = {LogLevel::Fatal, LogLevel::Error, LogLevel::Warning,
                                       LogLevel::Info,  LogLevel::Debug, LogLevel::Secret};

constexpr auto Level(int value) {
  return static_cast<LogLevel>(value);
}

class LoggerTest : public ::testing::Test {
 protected:
  LoggerTest() { m_logger.SetImpl(m_sink); }

  const std::shared_ptr<RecordingSink> m_sink = std::make_shared<RecordingSink>();
  Logger m_logger;
};

TEST(LogLevel, HasTheNumbersThatProvidersRelyOn) {
  for (int value = 0; value < 6; ++value) EXPECT_EQ(kMessageLevels[value], Level(value + 1));
  EXPECT_EQ(LogLevel::None, Level(0));
  EXPECT_EQ(LogLevel::All, Level(7));
  EXPECT_EQ(sizeof(LogLevel), 1u);
}

TEST(LogLevel, PrintsItsName) {
  const char* const names[] = {"None",   "Fatal", "Error",       "Warning",     "Info",        "Debug",
                               "Secret", "All",   "Unknown (8)", "Unknown (9)", "Unknown (10)"};
  for (int value = 0; value <= 10; ++value) {
    std::ostringstream out;
    out << Level(value);
    EXPECT_EQ(out.str(), names[value]);
  }
  std::ostringstream out;
  out << Level(255);
  EXPECT_EQ(out.str(), "Unknown (255)");
}

TEST(Logger, StartsWithoutSinkAndWithThresholdNone) {
  const Logger logger;
  EXPECT_FALSE(logger.HasSetImpl());
  EXPECT_EQ(logger.GetImpl(), nullptr);
  EXPECT_EQ(logger.GetLevel(), LogLevel::None);
  EXPECT_EQ(logger.Enter("f.cc", 1, "f", LogLevel::Fatal), nullptr);
}

TEST(Logger, WithoutSinkEveryStreamIsDeadEvenAtTheBlanketThreshold) {
  Logger logger;
  logger.SetLevel(LogLevel::All);
  for (const LogLevel level : kMessageLevels) EXPECT_FALSE(logger.Dynamic(level).IsLive());
  EXPECT_EQ(logger.Enter("f.cc", 1, "f", LogLevel::Fatal), nullptr);
}

TEST_F(LoggerTest, GivesItsSinkAsASharedCopy) {
  EXPECT_TRUE(m_logger.HasSetImpl());
  EXPECT_EQ(m_logger.GetImpl(), m_sink);
  EXPECT_EQ(m_logger.GetImplMut(), m_sink);
}

TEST_F(LoggerTest, AStreamIsLiveExactlyWhenTheThresholdIsAtLeastItsLevel) {
  for (int threshold = 0; threshold <= 7; ++threshold) {
    m_logger.SetLevel(Level(threshold));
    EXPECT_EQ(m_logger.GetLevel(), Level(threshold));
    for (int level = 1; level <= 5; ++level) {
      EXPECT_EQ(m_logger.Dynamic(Level(level)).IsLive(), level <= threshold) << level << " at " << threshold;
    }
  }
}

TEST_F(LoggerTest, ASecretStreamIsDeadAtEveryThreshold) {
  for (int threshold = 0; threshold <= 7; ++threshold) {
    m_logger.SetLevel(Level(threshold));
    EXPECT_FALSE(m_logger.Secret().IsLive());
    m_logger.Secret() << "hidden";
  }
  EXPECT_EQ(m_sink->lines, Lines());
}

TEST_F(LoggerTest, EachShorthandWritesAtItsLevel) {
  m_logger.SetLevel(LogLevel::All);
  m_logger.Fatal() << "1";
  m_logger.Error() << "2";
  m_logger.Warning() << "3";
  m_logger.Info() << "4";
  m_logger.Debug() << "5";
  m_logger.Secret() << "6";
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Fatal, "1"},
                                  {LogLevel::Error, "2"},
                                  {LogLevel::Warning, "3"},
                                  {LogLevel::Info, "4"},
                                  {LogLevel::Debug, "5"}}));
}

TEST_F(LoggerTest, AnInvalidThresholdIsReportedAndTheOldOneStays) {
  m_logger.SetLevel(LogLevel::Error);
  m_logger.SetLevel(Level(8));
  m_logger.SetLevel(Level(255));
  EXPECT_EQ(m_logger.GetLevel(), LogLevel::Error);
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Error, "Invalid LogLevel specified: 8. blanketLevelsValid: true"},
                                  {LogLevel::Error, "Invalid LogLevel specified: 255. blanketLevelsValid: true"}}));
}

TEST_F(LoggerTest, AMessageOfAThresholdsLevelIsReportedAndDead) {
  m_logger.SetLevel(LogLevel::All);
  EXPECT_FALSE(m_logger.Dynamic(LogLevel::None).IsLive());
  EXPECT_FALSE(m_logger.Dynamic(LogLevel::All).IsLive());
  EXPECT_EQ(m_logger.Enter("f.cc", 1, "f", LogLevel::None), nullptr);
  EXPECT_EQ(m_logger.Enter("f.cc", 1, "f", LogLevel::All), nullptr);
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Error, "Invalid LogLevel specified: 0. blanketLevelsValid: false"},
                                  {LogLevel::Error, "Invalid LogLevel specified: 7. blanketLevelsValid: false"},
                                  {LogLevel::Error, "Invalid LogLevel specified: 0. blanketLevelsValid: false"},
                                  {LogLevel::Error, "Invalid LogLevel specified: 7. blanketLevelsValid: false"}}));
}

TEST_F(LoggerTest, AnInvalidLevelIsReportedWhateverTheThresholdThatTakesErrors) {
  for (int threshold = 2; threshold <= 7; ++threshold) {
    m_logger.SetLevel(Level(threshold));
    for (const int level : {0, 7, 8, 255}) {
      m_sink->lines.clear();
      EXPECT_FALSE(m_logger.Dynamic(Level(level)).IsLive());
      EXPECT_EQ(m_logger.Enter("f.cc", 1, "f", Level(level)), nullptr);
      const RecordingSink::Line complaint{
          LogLevel::Error, "Invalid LogLevel specified: " + std::to_string(level) + ". blanketLevelsValid: false"};
      EXPECT_EQ(m_sink->lines, (Lines{complaint, complaint})) << "at " << threshold;
    }
  }
}

TEST_F(LoggerTest, AComplaintIsAnErrorMessageLikeAnyOther) {
  m_logger.SetLevel(LogLevel::Fatal);
  m_logger.SetLevel(Level(9));
  EXPECT_EQ(m_sink->lines, Lines());
}

TEST_F(LoggerTest, CheckLevelTellsThresholdsFromMessageLevels) {
  for (int value = 0; value <= 9; ++value) {
    EXPECT_EQ(m_logger.CheckLevel(Level(value), true), value <= 7) << value;
    EXPECT_EQ(m_logger.CheckLevel(Level(value), false), value >= 1 && value <= 6) << value;
  }
}

TEST_F(LoggerTest, AMessageArrivesWholeWhenItsStatementEnds) {
  m_logger.SetLevel(LogLevel::Info);
  m_logger.Info() << "slot " << 3 << " of " << std::hex << std::setw(4) << std::setfill('0') << 255 << std::endl
                  << LogLevel::Debug;
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Info, "slot 3 of 00ff\nDebug"}}));
}

TEST_F(LoggerTest, AnEmptyMessageIsAMessage) {
  m_logger.SetLevel(LogLevel::Info);
  m_logger.Info();
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Info, ""}}));
}

TEST_F(LoggerTest, AMovedStreamWritesOnce) {
  m_logger.SetLevel(LogLevel::Info);
  {
    QELLog::LogStream first = m_logger.Info();
    first << "a";
    QELLog::LogStream second = std::move(first);
    EXPECT_FALSE(first.IsLive());
    first << "lost" << std::endl;
    second << "b";
  }
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Info, "ab"}}));
}

TEST(Logger, AStreamKeepsItsSinkAliveAndWritesToItAfterAReplacement) {
  bool died = false;
  Logger logger;
  logger.SetImpl(std::make_shared<RecordingSink>(&died));
  logger.SetLevel(LogLevel::Info);
  const auto next = std::make_shared<RecordingSink>();
  {
    QELLog::LogStream stream = logger.Info();
    logger.SetImpl(next);
    stream << "to the old sink";
    EXPECT_FALSE(died);
  }
  EXPECT_TRUE(died);
  logger.Info() << "to the new sink";
  EXPECT_EQ(next->lines, (Lines{{LogLevel::Info, "to the new sink"}}));
}

struct NeverFormatted {};
std::ostream& operator<<(std::ostream& out, const NeverFormatted&) {
  ADD_FAILURE() << "a dead stream formatted a value";
  return out;
}

TEST_F(LoggerTest, ADeadStatementNeitherAllocatesNorFormats) {
  m_logger.SetLevel(LogLevel::Info);

  const CountedAllocations allocations;
  m_logger.Debug() << "slot " << 4711 << std::hex << 0.5 << NeverFormatted() << std::endl;
  m_logger.Secret() << "slot " << 4711;
  EXPECT_EQ(allocations.Count(), 0u);

  m_logger.Info() << "a live one is seen by the counter";
  EXPECT_GT(allocations.Count(), 0u);
}

struct ThrowingSink : QELLog::LoggerImpl {
  void Log(LogLevel, const std::string&) override { throw std::runtime_error("full"); }
};

TEST(LoggerDeathTest, AnExceptionFromTheSinkEndsTheProcess) {
  Logger logger;
  logger.SetImpl(std::make_shared<ThrowingSink>());
  logger.SetLevel(LogLevel::Info);
  EXPECT_DEATH(logger.Info() << "x", "");
}

}  // namespace
