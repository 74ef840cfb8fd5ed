#include "util/UniqueHandle.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace {

std::vector<int>& Closed() {
  static std::vector<int> closed;
  return closed;
}

struct NumberTraits {
  using Handle = int;
  static Handle Invalid() { return -1; }
  static void Close(Handle number) { Closed().push_back(number); }
};
using Number = UniqueHandle<NumberTraits>;

class UniqueHandleTest : public ::testing::Test {
 protected:
  UniqueHandleTest() { Closed().clear(); }
};

TEST_F(UniqueHandleTest, ClosesItsHandleOnceAtTheEnd) {
  {
    const Number number(7);
    EXPECT_TRUE(number);
    EXPECT_EQ(number.Get(), 7);
  }
  EXPECT_EQ(Closed(), std::vector<int>{7});
}

TEST_F(UniqueHandleTest, NeverClosesTheInvalidHandle) {
  {
    const Number none;
    const Number failed(-1);
    EXPECT_FALSE(none);
    EXPECT_FALSE(failed);
  }
  EXPECT_TRUE(Closed().empty());
}

TEST_F(UniqueHandleTest, MovingPassesTheHandleOnAndClosesTheOneItReplaces) {
  Number first(1);
  Number second(std::move(first));
  Number third(3);
  third = std::move(second);
  EXPECT_EQ(third.Get(), 1);
  EXPECT_EQ(Closed(), std::vector<int>{3});
}

TEST_F(UniqueHandleTest, ReleaseGivesTheHandleUp) {
  {
    Number number(7);
    EXPECT_EQ(number.Release(), 7);
    EXPECT_FALSE(number);
  }
  EXPECT_TRUE(Closed().empty());
}

TEST_F(UniqueHandleTest, ResetClosesTheOldHandleAndKeepsTheNew) {
  Number number(7);
  number.Reset(8);
  EXPECT_EQ(Closed(), std::vector<int>{7});
  number.Reset();
  EXPECT_EQ(Closed(), (std::vector<int>{7, 8}));
  EXPECT_FALSE(number);
}

TEST_F(UniqueHandleTest, MovingFromItselfKeepsTheHandle) {
  Number number(7);
  Number& same = number;
  number = std::move(same);
  EXPECT_EQ(number.Get(), 7);
  EXPECT_TRUE(Closed().empty());
}

TEST_F(UniqueHandleTest, IsMovedAndNeverCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<Number>);
  EXPECT_FALSE(std::is_copy_assignable_v<Number>);
  EXPECT_FALSE((std::is_convertible_v<int, Number>)) << "ownership is taken in so many words";
}

}  // namespace
