#include "pkcs11/QELTokenException.h"

#include <new>
#include <stdexcept>

#include "tests/support/Failure.h"

TEST(CatchTokenExceptionTest, ReturnsNothingWhenNothingIsThrown) {
  bool ran = false;
  EXPECT_FALSE(CatchTokenException([&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST(CatchTokenExceptionTest, ReturnsWhatEndedTheBody) {
  EXPECT_TRUE(IsFailure(CatchTokenException([] { throw QELTokenException(-7, "Private key not found"); }), -7,
                        "Private key not found"));
}

TEST(CatchTokenExceptionTest, EverythingElsePassesThrough) {
  EXPECT_THROW(CatchTokenException([] { throw std::runtime_error("other"); }), std::runtime_error);
  EXPECT_THROW(CatchTokenException([] { throw 42; }), int);
  EXPECT_THROW(CatchTokenException([] { throw std::bad_alloc(); }), std::bad_alloc);
}
