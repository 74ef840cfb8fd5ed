#include "log/QELLoggerImpl.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "log/TokenLog.h"
#include "tests/tokenlog/RecordingProvider.h"

namespace {

using QELLog::LogExitReason;
using QELLog::LogLevel;
using Scope = QELTok::QELLoggerImpl::FuncScope;

class Collecting : public QELLog::LoggerImpl {
 public:
  void Log(LogLevel level, const std::string& message) override {
    if (failing) throw std::runtime_error("no line today");
    lines.push_back(std::to_string(static_cast<int>(level)) + " " + message);
  }
  std::vector<std::string> lines;
  bool failing = false;
};

using Lines = std::vector<std::string>;

TEST(TokenFuncScope, WritesEnterAndExitAtItsLevel) {
  const auto sink = std::make_shared<Collecting>();
  {
    const Scope scope("Sign", "Signing.mm", 12, sink, LogLevel::Info);
    EXPECT_EQ(sink->lines, Lines{"4 Enter function Sign at Signing.mm:12"});
  }
  EXPECT_EQ(sink->lines,
            (Lines{"4 Enter function Sign at Signing.mm:12", "4 Exit function Sign, entered at Signing.mm:12"}));
}

TEST(TokenFuncScope, SaysWhenAnExceptionIsInFlight) {
  const auto sink = std::make_shared<Collecting>();
  try {
    const Scope scope("Sign", "Signing.mm", 12, sink, LogLevel::Debug);
    throw 1;
  } catch (int) {
  }
  EXPECT_EQ(sink->lines.back(), "5 Exit function Sign, entered at Signing.mm:12, while an exception is in flight");
}

TEST(TokenFuncScope, HasATextForEachWayOut) {
  EXPECT_STREQ(Scope::ExitText(LogExitReason::ExceptionInFlight), ", while an exception is in flight");
  EXPECT_STREQ(Scope::ExitText(LogExitReason::Exception), ", via exception");
  EXPECT_STREQ(Scope::ExitText(LogExitReason::Normal), "");
}

TEST(TokenFuncScope, KeepsItsSinkAlive) {
  auto sink = std::make_shared<Collecting>();
  const std::weak_ptr<Collecting> watched = sink;
  auto scope = std::make_unique<Scope>("Sign", "Signing.mm", 12, sink, LogLevel::Debug);
  sink.reset();
  EXPECT_FALSE(watched.expired());
  scope.reset();
  EXPECT_TRUE(watched.expired());
}

TEST(TokenFuncScopeDeathTest, EndsTheProcessWhenItsExitCannotBeWritten) {
  EXPECT_DEATH(
      {
        const auto sink = std::make_shared<Collecting>();
        const Scope scope("Sign", "Signing.mm", 12, sink, LogLevel::Debug);
        sink->failing = true;
      },
      "no line today");
}

TEST(QELLoggerImpl, EntersWithItsOwnScope) {
  const auto sink = std::make_shared<QELTok::QELLoggerImpl>();
  const auto scope = sink->Enter("Signing.mm", 12, "Sign", LogLevel::Debug);
  EXPECT_NE(dynamic_cast<const Scope*>(scope.get()), nullptr);
  EXPECT_EQ(sink.use_count(), 2);
}

TEST(QELLoggerImpl, CannotTraceWithoutASharedOwner) {
  QELTok::QELLoggerImpl sink;
  EXPECT_THROW(sink.Enter("Signing.mm", 12, "Sign", LogLevel::Debug), std::bad_weak_ptr);
}

TEST(EnabledLevel, IsTheHighestThatTheClientWrites) {
  for (int level = 0; level <= 5; ++level) {
    const RecordingProvider provider(level);
    EXPECT_EQ(QELTok::EnabledLevel(LogClient(L"A")), static_cast<LogLevel>(level));
  }
}

TEST(EnabledLevel, IsNoneWithoutALogger) {
  EXPECT_EQ(QELTok::EnabledLevel(LogClient(nullptr)), LogLevel::None);
}

}  // namespace
