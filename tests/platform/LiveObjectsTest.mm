#include "platform/testing/LiveObjects.h"

#include <gtest/gtest-spi.h>

@interface CountedObject : NSObject
@end

@implementation CountedObject
@end

namespace {

TEST(LiveObjects, GrowthIsWhatCameAndStayed) {
  const LiveObjects objects([CountedObject class]);
  CountedObject *object = [[CountedObject alloc] init];
  EXPECT_EQ(objects.Growth(), 1);
  [object release];
  EXPECT_EQ(objects.Growth(), 0);
}

TEST(LiveObjects, AutoreleasedObjectsGoBeforeTheCount) {
  const LiveObjects objects([CountedObject class]);
  [[[CountedObject alloc] init] autorelease];
  EXPECT_EQ(objects.Growth(), 1);
}

TEST(LiveObjects, ALeftOverObjectFailsTheTest) {
  static CountedObject *leftOver;
  EXPECT_NONFATAL_FAILURE(
      {
        const LiveObjects objects([CountedObject class]);
        leftOver = [[CountedObject alloc] init];
      },
      "objects of CountedObject are left over");
  [leftOver release];
}

TEST(ObjectsLeftBehind, AreThoseOfEveryClassThatNobodyReleased) {
  EXPECT_EQ(ObjectsLeftBehind([] { [[[CountedObject alloc] init] autorelease]; }), 0);
  NSMutableArray *kept = [NSMutableArray array];
  EXPECT_EQ(ObjectsLeftBehind([&] {
              [kept addObject:[[[CountedObject alloc] init] autorelease]];
              [kept addObject:[NSMutableString stringWithString:@"text"]];
            }),
            20);
}

}  // namespace
