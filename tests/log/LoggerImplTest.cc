#include "log/LoggerImpl.h"

#include <gtest/gtest.h>

#include <locale>
#include <type_traits>

#include "tests/log/RecordingSink.h"
#include "tests/support/FakeClock.h"
#include "util/QELUtils.h"

namespace {

using QELLog::LogExitReason;
using QELLog::LoggerImpl;
using QELLog::LogLevel;

class Tracing : public ::testing::Test {
 protected:
  Tracing() {
    m_logger.SetImpl(m_sink);
    m_logger.SetLevel(LogLevel::Debug);
  }

  const std::shared_ptr<RecordingSink> m_sink = std::make_shared<RecordingSink>();
  QELLog::Logger m_logger;
};

TEST_F(Tracing, WritesALineOnEnteringAndOneOnLeaving) {
  {
    const auto scope = m_logger.Enter("slots.cc", 1200, "FindSlots", LogLevel::Info);
    EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Info, "Entering function FindSlots at slots.cc:1200"}}));
  }
  ASSERT_EQ(m_sink->lines.size(), 2u);
  EXPECT_EQ(m_sink->lines[1],
            (RecordingSink::Line{LogLevel::Info, "Exiting function FindSlots at slots.cc:1200 normally"}));
}

TEST_F(Tracing, SaysWhenAnExceptionIsInFlight) {
  const auto body = [this] {
    const auto scope = m_logger.Enter("f.cc", 7, "f", LogLevel::Debug);
    throw std::runtime_error("stop");
  };
  EXPECT_THROW(body(), std::runtime_error);
  EXPECT_EQ(
      m_sink->lines.back(),
      (RecordingSink::Line{LogLevel::Debug, "Exiting function f at f.cc:7 while at least one exception is in flight"}));
}

TEST_F(Tracing, SaysWhenSeveralExceptionsAreInFlight) {
  struct ThrowsWhileItGoes {
    ~ThrowsWhileItGoes() {
      try {
        const auto scope = logger.Enter("f.cc", 7, "f", LogLevel::Debug);
        throw std::runtime_error("second");
      } catch (const std::runtime_error&) {
      }
    }
    const QELLog::Logger& logger;
  };
  const auto body = [this] {
    const ThrowsWhileItGoes guard{m_logger};
    throw std::runtime_error("first");
  };
  EXPECT_THROW(body(), std::runtime_error);
  EXPECT_EQ(m_sink->lines.back().text, "Exiting function f at f.cc:7 while at least one exception is in flight");
}

TEST_F(Tracing, AnExceptionThatWasCaughtIsInFlightNoMore) {
  try {
    throw std::runtime_error("stop");
  } catch (const std::runtime_error&) {
    m_logger.Enter("f.cc", 7, "f", LogLevel::Debug).reset();
  }
  EXPECT_EQ(m_sink->lines.back().text, "Exiting function f at f.cc:7 normally");
}

TEST_F(Tracing, IsOffAboveTheThreshold) {
  m_logger.SetLevel(LogLevel::Info);
  EXPECT_EQ(m_logger.Enter("f.cc", 7, "f", LogLevel::Debug), nullptr);
  EXPECT_NE(m_logger.Enter("f.cc", 7, "f", LogLevel::Info), nullptr);
}

TEST_F(Tracing, LeavesItToTheSinkWhatBecomesOfASecretScope) {
  m_logger.SetLevel(LogLevel::All);
  m_logger.Enter("f.cc", 7, "f", LogLevel::Secret).reset();
  EXPECT_EQ(m_sink->lines, (Lines{{LogLevel::Secret, "Entering function f at f.cc:7"},
                                  {LogLevel::Secret, "Exiting function f at f.cc:7 normally"}}));
}

TEST(FuncScope, KeepsItsSinkAlive) {
  bool died = false;
  QELLog::Logger logger;
  logger.SetImpl(std::make_shared<RecordingSink>(&died));
  logger.SetLevel(LogLevel::Debug);
  auto scope = logger.Enter("f.cc", 7, "f", LogLevel::Debug);
  logger.SetImpl(nullptr);
  EXPECT_FALSE(died);
  scope.reset();
  EXPECT_TRUE(died);
}

TEST(FuncScope, TheExitReasonsHaveTheNumbersThatScopesRelyOn) {
  EXPECT_EQ(static_cast<int>(LogExitReason::ExceptionInFlight), 0);
  EXPECT_EQ(static_cast<int>(LogExitReason::Exception), 1);
  EXPECT_EQ(static_cast<int>(LogExitReason::Normal), 2);
  EXPECT_EQ(LoggerImpl::FuncScope::GetCurrentExceptionStatus(), LogExitReason::Normal);
}

TEST(LoggerImpl, EnteringThroughASinkThatNoSharedPointerOwnsThrows) {
  RecordingSink sink;
  EXPECT_THROW(sink.Enter("f.cc", 1, "f", LogLevel::Info), std::bad_weak_ptr);
}

struct SinkThatFailsOnExit : LoggerImpl {
  void Log(LogLevel, const std::string& text) override {
    if (text.find("Exiting") == 0) throw std::runtime_error("full");
  }
};

TEST(FuncScopeDeathTest, AnExceptionFromTheSinkOnLeavingEndsTheProcess) {
  const auto sink = std::make_shared<SinkThatFailsOnExit>();
  EXPECT_DEATH(sink->Enter("f.cc", 1, "f", LogLevel::Info).reset(), "");
}

/// Calls a virtual function by its place in the table, as code built against another version of the class would.
template <typename Result, typename... Arguments>
Result CallSlot(int slot, void* object, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  void** const table = *static_cast<void***>(object);
  return reinterpret_cast<Function>(table[slot])(object, arguments...);
}

TEST(LoggerImpl, LogIsTheFirstVirtualFunctionAndTheDestructorTheThird) {
  bool died = false;
  auto* const sink = new RecordingSink(&died);
  const std::string text = "x";
  CallSlot<void, LogLevel, const std::string&>(0, static_cast<LoggerImpl*>(sink), LogLevel::Info, text);
  EXPECT_EQ(sink->lines, (Lines{{LogLevel::Info, "x"}}));
  CallSlot<void>(3, static_cast<LoggerImpl*>(sink));  // of the destructor's two entries the one that deletes
  EXPECT_TRUE(died);
}

TEST(LogStream, IsLiveIsTheFirstVirtualFunction) {
  QELLog::LogStream dead(LogLevel::Info);
  QELLog::LogStream live(std::make_shared<RecordingSink>(), LogLevel::Info);
  EXPECT_FALSE(CallSlot<bool>(0, &dead));
  EXPECT_TRUE(CallSlot<bool>(0, &live));
}

class Prefix : public ::testing::Test {
 protected:
  const ScopedTimeZone m_zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  const FakeClock m_clock{1709618889, 45999};  // 2024-03-05 06:08:09 UTC
  const std::string m_process = "[" + std::to_string(QELUtils::getpid()) + "-0] ";
  RecordingSink m_sink;
};

TEST_F(Prefix, HasLocalTimeProcessAndLevel) {
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Debug, true, true, true), "2024-03-05 07:08:09,045 " + m_process + "Debug: ");
}

TEST_F(Prefix, HasThePiecesThatWereAskedFor) {
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Info, false, false, false), "");
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Info, true, false, false), "2024-03-05 07:08:09,045 ");
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Info, false, true, false), m_process);
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Info, false, false, true), "Info: ");
  EXPECT_EQ(m_sink.MakePrefix(static_cast<LogLevel>(9), false, false, true), "Unknown (9): ");
}

TEST_F(Prefix, HasTheNameOfAnyLevel) {
  for (int value = 0; value <= 255; ++value) {
    const auto level = static_cast<LogLevel>(value);
    EXPECT_EQ(m_sink.MakePrefix(level, false, false, true), ToString(level) + ": ");
  }
}

TEST_F(Prefix, HasNoDigitGroupingWhateverTheGlobalLocale) {
  struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\1"; }
  };
  const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const std::string prefix = m_sink.MakePrefix(LogLevel::Debug, true, true, true);
  std::locale::global(previous);
  EXPECT_EQ(prefix, "2024-03-05 07:08:09,045 " + m_process + "Debug: ");
}

TEST_F(Prefix, PadsEveryNumberOfTheTime) {
  const ScopedTimeZone zone("UTC0");
  const FakeClock clock(-61000000001, 1000);
  EXPECT_EQ(m_sink.MakePrefix(LogLevel::Info, true, false, false), "0036-12-26 11:33:19,001 ");
}

TEST_F(Prefix, ReadsTheClockOnceAndOnlyForTheTime) {
  m_sink.MakePrefix(LogLevel::Info, false, true, true);
  EXPECT_EQ(m_clock.Reads(), 0);
  m_sink.MakePrefix(LogLevel::Info, true, true, true);
  EXPECT_EQ(m_clock.Reads(), 1);
}

/// Whether an object of `Class` can be made or overwritten from another one.
template <typename Class>
constexpr bool kCopied = std::is_copy_constructible_v<Class> || std::is_copy_assignable_v<Class>;

TEST(Logging, HasNoClassThatIsCopied) {
  EXPECT_FALSE(kCopied<RecordingSink>) << "a sink";
  EXPECT_FALSE(kCopied<LoggerImpl::FuncScope>);
  EXPECT_FALSE(kCopied<LoggerImpl::FuncScopeDefault>);
  EXPECT_FALSE(kCopied<QELLog::Logger>);
  EXPECT_FALSE(kCopied<QELLog::LogStream>);
  EXPECT_TRUE(std::is_move_constructible_v<QELLog::LogStream>) << "handed on by those who make it";
  EXPECT_FALSE(std::is_move_assignable_v<QELLog::LogStream>) << "the message of the target would be lost";
}

}  // namespace
