#include "tests/golden/GoldenTrace.h"
#include "tests/golden/StoryCard.h"
#import "tests/token/TokenTest.h"

namespace {

/// The life of one token on a card, with at most one call that fails on the way.
struct Story {
  const char *name;
  StoryContents contents;
  bool givesToken = true;
  const char *failingCall = nullptr;
  CK_RV rv = CKR_OK;
  int occurrence = 1;
  NSString *reader = @"Example Reader 0";
};

void PrintTo(const Story &story, std::ostream *stream) {
  *stream << story.name;
}

const StoryContents kEmpty = {1, 0};
const StoryContents kOneKey = {1, 1};
const StoryContents kTwoKeys = {1, 2};
const StoryContents kTwoSlots = {2, 1};

}  // namespace

class GoldenTrace : public TokenTest, public ::testing::WithParamInterface<Story> {};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Of, GoldenTrace, ::testing::Values(
  Story{"AnEmptyCard", kEmpty},
  Story{"ACardWithOneKey", kOneKey},
  Story{"ACardWithTwoKeys", kTwoKeys},
  Story{"ACardOnTwoSlots", kTwoSlots},
  Story{"AnUnknownReader", kOneKey, false, nullptr, CKR_OK, 0, @"Unknown Reader"},
  Story{"ARefusedInitialization", kOneKey, false, "C_Initialize", CKR_DEVICE_ERROR},
  Story{"ARefusedSlotCount", kOneKey, false, "C_GetSlotList", CKR_GENERAL_ERROR, 1},
  Story{"ARefusedSlotList", kOneKey, false, "C_GetSlotList", CKR_BUFFER_TOO_SMALL, 2},
  Story{"ARefusedSlotAfterAMatch", kOneKey, false, "C_GetSlotInfo", CKR_DEVICE_ERROR, 2},
  Story{"ARefusalToCloseAllSessions", kTwoSlots, true, "C_CloseAllSessions", CKR_DEVICE_ERROR, 1},
  Story{"UnreadableTokenInformation", kTwoSlots, false, "C_GetTokenInfo", CKR_TOKEN_NOT_RECOGNIZED},
  Story{"ARefusedFirstSession", kTwoSlots, false, "C_OpenSession", CKR_SESSION_COUNT, 1},
  Story{"ARefusedSecondSession", kTwoSlots, false, "C_OpenSession", CKR_SESSION_COUNT, 2},
  Story{"ASearchThatCannotStart", kOneKey, false, "C_FindObjectsInit", CKR_OPERATION_ACTIVE, 1},
  Story{"ASearchThatBreaksOff", kOneKey, false, "C_FindObjects", CKR_DEVICE_REMOVED, 1},
  Story{"AKeySearchThatBreaksOff", kOneKey, false, "C_FindObjects", CKR_DEVICE_REMOVED, 3},
  Story{"ASearchThatCannotEnd", kEmpty, true, "C_FindObjectsFinal", CKR_DEVICE_ERROR, 1},
  Story{"ARefusedAttributeLength", kOneKey, false, "C_GetAttributeValue", CKR_ATTRIBUTE_TYPE_INVALID, 1},
  Story{"ARefusedAttributeValue", kOneKey, false, "C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE, 2},
  Story{"ARefusedSessionClose", kTwoSlots, true, "C_CloseSession", CKR_DEVICE_REMOVED, 1}
), [](const auto &info) { return std::string(info.param.name); });
// clang-format on

TEST_P(GoldenTrace, IsAsKept) {
  const Story &story = GetParam();
  const auto card = MakeStoryCard(story.contents);
  if (story.failingCall != nullptr) card->Fail(story.failingCall, story.rv, story.occurrence);
  @autoreleasepool {
    EXPECT_EQ(MakeToken(nullptr, SmartCard(story.reader)) != nil, story.givesToken);
  }
  EXPECT_TRUE(MatchesGoldenTrace(story.name, card->Trace()));
}
