#include "platform/src/Foundation/CrashReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>

#include "tests/platform/ExtensionProcess.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// What the extension's process writes when it crashes after a first answer, left alone by the sanitizers' own
/// handlers.
std::string ReportOfACrash(const char* backtrace) {
  setenv("QEL_BACKTRACE", backtrace, 1);
  for (const char* sanitizer : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) setenv(sanitizer, "handle_sigbus=0", 1);
  ExtensionProcess process(TEST_EXTENSION);
  unsetenv("QEL_BACKTRACE");
  process.channel().Call("hello");
  kill(process.pid(), SIGBUS);
  EXPECT_EQ(process.End(), -SIGBUS);
  return process.errors();
}

TEST(CrashReport, NamesTheCallsOfACrashWhenWanted) {
  const std::string report = ReportOfACrash("1");
  EXPECT_THAT(report, HasSubstr("the extension crashed; its calls, the innermost first:\n"));
  EXPECT_THAT(report, HasSubstr("/TestExtension("));
}

TEST(CrashReport, SaysNothingWhenNotWanted) {
  EXPECT_THAT(ReportOfACrash("0"), Not(HasSubstr("its calls")));
}

TEST(CrashReport, NoCoreFileHoldsWhatTheMemoryHeld) {
  ExtensionProcess process(TEST_EXTENSION);
  process.channel().Call("hello");
  std::ifstream limits("/proc/" + std::to_string(process.pid()) + "/limits");
  const std::string text(std::istreambuf_iterator<char>(limits), {});
  EXPECT_THAT(text, HasSubstr("Max core file size        0                    0 "));
}

}  // namespace
