#include "tests/golden/GoldenTrace.h"
#include "tests/golden/Stories.h"
#import "tests/token/TokenTest.h"

class GoldenTrace : public TokenTest, public ::testing::WithParamInterface<ConstructionStory> {};

INSTANTIATE_TEST_SUITE_P(Of, GoldenTrace, ::testing::ValuesIn(kConstructions),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_P(GoldenTrace, IsAsKept) {
  const ConstructionStory &story = GetParam();
  const auto card = MakeStoryCard(story.contents);
  if (story.fault.call != nullptr) card->Fail(story.fault.call, story.fault.rv, story.fault.occurrence);
  @autoreleasepool {
    NSString *const reader = [NSString stringWithUTF8String:story.reader];
    EXPECT_EQ(MakeToken(nullptr, SmartCard(reader)) != nil, story.givesToken);
  }
  EXPECT_TRUE(MatchesGoldenTrace(story.name, card->Trace()));
}
