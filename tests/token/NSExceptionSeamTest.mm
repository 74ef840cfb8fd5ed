#import "token/NSExceptionSeam.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/token/PassingException.h"

TEST(NSExceptionSeam, GivesTheExceptionThatEndedTheBody) {
  NSException *raised = CatchNSException([] { [NSException raise:@"Name" format:@"reason %d", 7]; });
  EXPECT_STREQ([[raised name] UTF8String], "Name");
  EXPECT_STREQ([[raised reason] UTF8String], "reason 7");
}

TEST(NSExceptionSeam, GivesNilWhenTheBodyEnds) {
  bool ran = false;
  EXPECT_EQ(CatchNSException([&] { ran = true; }), nil);
  EXPECT_TRUE(ran);
}

TEST(NSExceptionSeam, LetsCppExceptionsPass) {
  EXPECT_EQ(PassingException([] { CatchNSException([] { throw std::runtime_error("through"); }); }), "through");
}
