#include "log/QELLoggerImpl.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "log/TokenLog.h"
#include "tests/log/RecordingSink.h"
#include "tests/tokenlog/RecordingProvider.h"
#include "util/QELIconv.h"

namespace {

using QELLog::LogExitReason;
using QELLog::LogLevel;
using Scope = QELTok::QELLoggerImpl::FuncScope;

TEST(TokenFuncScope, WritesEnterAndExitAtItsLevel) {
  const auto sink = std::make_shared<RecordingSink>();
  {
    const Scope scope("Sign", "Signing.mm", 12, sink, LogLevel::Info);
    EXPECT_EQ(sink->lines, (Lines{{LogLevel::Info, "Enter function Sign at Signing.mm:12"}}));
  }
  EXPECT_EQ(sink->lines, (Lines{{LogLevel::Info, "Enter function Sign at Signing.mm:12"},
                                {LogLevel::Info, "Exit function Sign, entered at Signing.mm:12"}}));
}

TEST(TokenFuncScope, SaysWhenAnExceptionIsInFlight) {
  const auto sink = std::make_shared<RecordingSink>();
  try {
    const Scope scope("Sign", "Signing.mm", 12, sink, LogLevel::Debug);
    throw 1;
  } catch (int) {
  }
  EXPECT_EQ(sink->lines.back(),
            (RecordingSink::Line{LogLevel::Debug,
                                 "Exit function Sign, entered at Signing.mm:12, while an exception is in flight"}));
}

TEST(TokenFuncScope, HasATextForEachWayOut) {
  EXPECT_STREQ(Scope::ExitText(LogExitReason::ExceptionInFlight), ", while an exception is in flight");
  EXPECT_STREQ(Scope::ExitText(LogExitReason::Exception), ", via exception");
  EXPECT_STREQ(Scope::ExitText(LogExitReason::Normal), "");
}

TEST(TokenFuncScope, KeepsItsSinkAlive) {
  bool died = false;
  auto scope =
      std::make_unique<Scope>("Sign", "Signing.mm", 12, std::make_shared<RecordingSink>(&died), LogLevel::Debug);
  EXPECT_FALSE(died);
  scope.reset();
  EXPECT_TRUE(died);
}

struct SinkThatFailsOnExit : QELLog::LoggerImpl {
  void Log(LogLevel, const std::string& text) override {
    if (text.find("Exit") == 0) throw std::runtime_error("no line today");
  }
};

TEST(TokenFuncScopeDeathTest, EndsTheProcessWhenItsExitCannotBeWritten) {
  EXPECT_DEATH(Scope("Sign", "Signing.mm", 12, std::make_shared<SinkThatFailsOnExit>(), LogLevel::Debug),
               "no line today");
}

TEST(QELLoggerImpl, EntersWithItsOwnScope) {
  const auto sink = std::make_shared<QELTok::QELLoggerImpl>();
  const auto scope = sink->Enter("Signing.mm", 12, "Sign", LogLevel::Debug);
  EXPECT_NE(dynamic_cast<const Scope*>(scope.get()), nullptr);
  EXPECT_EQ(sink.use_count(), 2);
}

TEST(QELLoggerImpl, FailsNoCallerWhateverTheConversionThrows) {
  const auto previous = QELIconv::GetDefaultErrHandler<char, wchar_t>();
  QELIconv::SetDefaultErrHandler<char, wchar_t>(
      QELIconv::ErrHandler<char, wchar_t>([](const char*&, size_t) -> std::wstring { throw 1; }));
  EXPECT_NO_THROW(QELTok::QELLoggerImpl().Log(LogLevel::Info, "\xff"));
  QELIconv::SetDefaultErrHandler<char, wchar_t>(previous);
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

TEST(EnabledLevel, IsTheHighestAlsoWhenALowerOneIsOff) {
  RecordingProvider provider;
  const auto off = [](HLOGGER) { return 0; };
  QEL_LogInterface interface = RecordingProvider::Interface();
  interface.isFatal = interface.isError = off;
  InstalledInterface::Install(&interface);
  EXPECT_EQ(QELTok::EnabledLevel(LogClient(L"A")), LogLevel::Debug);
  interface.isDebug = interface.isWarning = off;
  InstalledInterface::Install(&interface);
  EXPECT_EQ(QELTok::EnabledLevel(LogClient(L"A")), LogLevel::Info);
}

TEST(EnabledLevel, IsNoneWithoutALogger) {
  EXPECT_EQ(QELTok::EnabledLevel(LogClient(nullptr)), LogLevel::None);
}

}  // namespace
