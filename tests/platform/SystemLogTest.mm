#include "platform/testing/SystemLog.h"

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#include <os/log.h>

#include <thread>

namespace {

using SystemLog::Captured;
using SystemLog::ErrorLevelDisabled;
using SystemLog::Sink;
using Texts = std::vector<std::string>;

TEST(OSLog, AnErrorIsWrittenWithItsType) {
  const Captured log;
  os_log_error(OS_LOG_DEFAULT, "C_Initialize => 0x%08lX", 0x30UL);
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines().front().sink, Sink::OSLog);
  EXPECT_EQ(log.Lines().front().type, OS_LOG_TYPE_ERROR);
  EXPECT_EQ(log.Lines().front().text, "C_Initialize => 0x00000030");
}

TEST(OSLog, AnObjectOrATextIsWrittenOnlyWhereItIsAnnotatedAsPublic) {
  const Captured log;
  os_log_error(OS_LOG_DEFAULT, "%{public}@, %@, %{private}@ and %d", @"one", @"two", @"three", 4);
  os_log_error(OS_LOG_DEFAULT, "%{public}s, %s and %{public}s", "one", "two", "three");
  os_log_error(OS_LOG_DEFAULT, "100%%{kept} %{public}d %lx%%", 5, 6UL);
  EXPECT_EQ(log.Texts(), (Texts{"one, <private>, <private> and 4", "one, <private> and three", "100%{kept} 5 6%"}));
}

TEST(OSLog, EveryMacroHasItsType) {
  const Captured log;
  os_log(OS_LOG_DEFAULT, "default");
  os_log_info(OS_LOG_DEFAULT, "info");
  os_log_debug(OS_LOG_DEFAULT, "debug");
  os_log_error(OS_LOG_DEFAULT, "error");
  os_log_fault(OS_LOG_DEFAULT, "fault");
  os_log_with_type(OS_LOG_DEFAULT, OS_LOG_TYPE_FAULT, "typed");
  EXPECT_EQ(log.Texts(), (Texts{"default", "error", "fault", "typed"}));
}

TEST(OSLog, InformationAndDebuggingAreOffByDefault) {
  EXPECT_TRUE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_DEFAULT));
  EXPECT_TRUE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_ERROR));
  EXPECT_TRUE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_FAULT));
  EXPECT_FALSE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_INFO));
  EXPECT_FALSE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_DEBUG));
}

TEST(OSLog, ADisabledTypeDoesNotEvaluateItsArguments) {
  const Captured log;
  int evaluated = 0;
  {
    const ErrorLevelDisabled disabled;
    EXPECT_FALSE(os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_ERROR));
    os_log_error(OS_LOG_DEFAULT, "%d", ++evaluated);
  }
  os_log_error(OS_LOG_DEFAULT, "%d", ++evaluated);
  EXPECT_EQ(log.Texts(), Texts{"1"});
}

TEST(OSLog, TheDisabledLogWritesNothing) {
  const Captured log;
  os_log_error(OS_LOG_DISABLED, "lost");
  EXPECT_FALSE(os_log_type_enabled(OS_LOG_DISABLED, OS_LOG_TYPE_FAULT));
  EXPECT_TRUE(log.Texts().empty());
}

TEST(OSLog, ALogOfItsOwnIsOwnedByItsMaker) {
  const Captured log;
  os_log_t own = os_log_create("com.example", "test");
  os_log_error(own, "own");
  EXPECT_EQ([(NSObject *)own retainCount], 1u);
  [(NSObject *)own release];
  EXPECT_EQ(log.Texts(), Texts{"own"});
}

TEST(OSLog, AThreadThatFoundationDoesNotKnowMayWrite) {
  const Captured log;
  std::thread([] { os_log_error(OS_LOG_DEFAULT, "%{public}@", @"from elsewhere"); }).join();
  EXPECT_EQ(log.Texts(), Texts{"from elsewhere"});
}

TEST(OSLog, GoesToStandardErrorOnlyWhenAsked) {
  ::testing::internal::CaptureStderr();
  os_log_error(OS_LOG_DEFAULT, "unasked");
  setenv("QEL_OS_LOG_STDERR", "0", 1);
  os_log_error(OS_LOG_DEFAULT, "zero");
  setenv("QEL_OS_LOG_STDERR", "1", 1);
  os_log_error(OS_LOG_DEFAULT, "asked");
  unsetenv("QEL_OS_LOG_STDERR");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "asked\n");
}

TEST(CapturedSystemLog, TakesNSLogWithoutTimeAndProcess) {
  const Captured log;
  NSLog(@"[a] %d", 5);
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines().front().sink, Sink::NSLog);
  EXPECT_EQ(log.Lines().front().text, "[a] 5");
}

TEST(CapturedSystemLog, KeepsTheOrderOfBothSinks) {
  const Captured log;
  NSLog(@"first");
  os_log_error(OS_LOG_DEFAULT, "second");
  NSLog(@"third");
  EXPECT_EQ(log.Texts(), (Texts{"first", "second", "third"}));
}

TEST(CapturedSystemLog, TheInnermostGetsTheLines) {
  const Captured outer;
  {
    const Captured inner;
    os_log_error(OS_LOG_DEFAULT, "inside");
    EXPECT_EQ(inner.Texts(), Texts{"inside"});
  }
  os_log_error(OS_LOG_DEFAULT, "outside");
  EXPECT_EQ(outer.Texts(), Texts{"outside"});
}

}  // namespace
