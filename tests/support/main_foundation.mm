#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

namespace {

/// Gives every test case an autorelease pool of its own, so that live-object counts are settled between cases.
class PoolPerCase : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo &) override { m_pool = [[NSAutoreleasePool alloc] init]; }
  void OnTestEnd(const ::testing::TestInfo &) override {
    [m_pool release];
    m_pool = nil;
  }
  NSAutoreleasePool *m_pool = nil;
};

}  // namespace

int main(int argc, char **argv) {
  NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new PoolPerCase);
  const int result = RUN_ALL_TESTS();
  [pool release];
  return result;
}
