// What the two kinds of exceptions do at the border of the languages. The product relies on every row.

#include <gtest/gtest.h>

#include "tests/platform/ExceptionSeamFrames.h"

namespace Seam {

bool CatchesFailure(const std::function<void()>& body) {
  try {
    body();
  } catch (const Failure&) {
    return true;
  }
  return false;
}

namespace {

const auto kThrow = [] { ThrowFailure(5); };
const auto kRaise = [] { RaiseNSException(); };

TEST(ExceptionSeam, ACppExceptionThroughMixedFramesIsCaughtInACppFile) {
  bool destroyed = false;
  EXPECT_TRUE(CatchesFailure([&] { RunBelowMixedFrame(kThrow, &destroyed); }));
  EXPECT_TRUE(destroyed);
}

TEST(ExceptionSeam, ACppExceptionKeepsItsValue) {
  try {
    bool destroyed = false;
    RunBelowMixedFrame(kThrow, &destroyed);
    FAIL() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code, 5);
  }
}

TEST(ExceptionSeam, ACppExceptionPassesFoundation) {
  EXPECT_TRUE(CatchesFailure([] { RunBelowFoundation(kThrow); }));
}

TEST(ExceptionSeam, ACppExceptionPassesTheObjectiveCHandler) {
  bool caughtAsObject = false;
  EXPECT_TRUE(CatchesFailure([&] { caughtAsObject = RaisesNSException(kThrow); }));
  EXPECT_FALSE(caughtAsObject);
}

TEST(ExceptionSeam, AnNSExceptionThroughMixedFramesIsCaughtInAnObjectiveCFile) {
  bool destroyed = false;
  EXPECT_TRUE(RaisesNSException([&] { RunBelowMixedFrame(kRaise, &destroyed); }));
  EXPECT_TRUE(destroyed);
}

TEST(ExceptionSeam, AnNSExceptionPassesFoundation) {
  EXPECT_TRUE(RaisesNSException([] { RunBelowFoundation(kRaise); }));
}

TEST(ExceptionSeam, AnNSExceptionPassesACppHandlerOfAnotherTypeInACppFile) {
  bool caughtAsFailure = false;
  EXPECT_TRUE(RaisesNSException([&] { caughtAsFailure = CatchesFailure(kRaise); }));
  EXPECT_FALSE(caughtAsFailure);
}

TEST(ExceptionSeam, AnObjectiveCHandlerInAMixedFileWorks) {
  EXPECT_TRUE(RaisesNSExceptionInMixedFile(kRaise));
  EXPECT_FALSE(RaisesNSExceptionInMixedFile([] {}));
}

TEST(ExceptionSeam, WithoutAnExceptionNothingIsCaught) {
  EXPECT_FALSE(RaisesNSException([] {}));
  EXPECT_FALSE(CatchesFailure([] {}));
}

}  // namespace
}  // namespace Seam
