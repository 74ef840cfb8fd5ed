#include "pkcs11/FindObjects.h"

#include <numeric>

#include "tests/pkcs11/CardTest.h"
#include "tests/support/card/FakeCard.h"

using namespace TestCard;

namespace {

constexpr CK_SESSION_HANDLE kSession = 42;
using Objects = std::vector<CK_OBJECT_HANDLE>;

class FindObjectsTest : public CardTest {
 protected:
  static Objects Find() { return PKCS11::FindObjects(kSession, nullptr, 0); }
  static std::optional<QELTokenException> FailureOfFind() { return CatchTokenException(Find); }
};

Objects Numbered(size_t count) {
  Objects handles(count);
  std::iota(handles.begin(), handles.end(), 1);
  return handles;
}

/// A batch that claims `found` handles and fills only what fits.
Fill Claims(CK_ULONG found) {
  return [=](Call& call) { *call.outputLength = found; };
}

}  // namespace

TEST_F(FindObjectsTest, ASearchThatMatchesNothingAsksOnceAndEndsTheSearchOnce) {
  ScriptedCard card({{"C_FindObjectsInit"}, {"C_FindObjects", CKR_OK, Handles({})}, {"C_FindObjectsFinal"}});
  EXPECT_EQ(Find(), Objects{});
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_F(FindObjectsTest, AFullBatchIsFollowedByOneMoreCall) {
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles(Numbered(32))},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal"}});
  EXPECT_EQ(Find(), Numbered(32));
}

TEST_F(FindObjectsTest, AsksAgainAfterAPartialBatch) {
  const auto all = Numbered(33);
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({all.begin(), all.begin() + 32})},
                     {"C_FindObjects", CKR_OK, Handles({33})},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal"}});
  EXPECT_EQ(Find(), all);
}

TEST_F(FindObjectsTest, KeepsTheOrderInWhichTheLibraryDelivers) {
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({9, 3})},
                     {"C_FindObjects", CKR_OK, Handles({5, 9})},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal"}});
  EXPECT_EQ(Find(), (Objects{9, 3, 5, 9}));
}

TEST_F(FindObjectsTest, PassesTheTemplateOnAndAsksForBatchesOf32) {
  ScriptedCard card({{"C_FindObjectsInit"}, {"C_FindObjects", CKR_OK, Handles({})}, {"C_FindObjectsFinal"}});
  CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
  CK_ULONG category = 1;
  CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                               {CKA_CERTIFICATE_CATEGORY, &category, sizeof category}};
  PKCS11::FindObjects(kSession, attributes, 2);
  EXPECT_EQ(card.Calls(),
            (std::vector<std::string>{"C_FindObjectsInit session=42 CKA_CLASS=0x1 CKA_CERTIFICATE_CATEGORY=0x1",
                                      "C_FindObjects session=42 max=32", "C_FindObjectsFinal session=42"}));
}

TEST_F(FindObjectsTest, ByIdSearchesForTheClassAndTheIdInThisOrder) {
  std::vector<TemplateRow> rows;
  ScriptedCard card(Search({9, 4}, &rows));
  EXPECT_EQ(PKCS11::FindObjectsByID(kSession, CKO_PUBLIC_KEY, {0x12, 0x00}), (Objects{9, 4}));
  EXPECT_EQ(rows, (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_PUBLIC_KEY)}, {CKA_ID, {0x12, 0x00}}}));
}

TEST_F(FindObjectsTest, ASearchThatCannotStartIsNotEnded) {
  ScriptedCard card({{"C_FindObjectsInit", CKR_SESSION_HANDLE_INVALID}});
  EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Initialization of object search failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_FindObjectsInit() => 0x000000B3"}}));
}

TEST_F(FindObjectsTest, ASearchThatBreaksOffIsEndedAndDropsWhatItFound) {
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({1, 2, 3})},
                     {"C_FindObjects", CKR_DEVICE_REMOVED},
                     {"C_FindObjectsFinal"}});
  EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Error while searching for objects on the card"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_FindObjects() => 0x00000032"}}));
}

TEST_F(FindObjectsTest, AFailureToEndTheSearchIsLoggedAndChangesNothing) {
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({1, 2})},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal", CKR_OPERATION_NOT_INITIALIZED}});
  EXPECT_EQ(Find(), (Objects{1, 2}));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_FindObjectsFinal() => 0x00000091"}}));
}

TEST_F(FindObjectsTest, AFailureToEndABrokenSearchDoesNotHideWhyItBroke) {
  ScriptedCard card(
      {{"C_FindObjectsInit"}, {"C_FindObjects", CKR_DEVICE_ERROR}, {"C_FindObjectsFinal", CKR_DEVICE_REMOVED}});
  EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Error while searching for objects on the card"));
  EXPECT_EQ(m_log.Lines(),
            (LogLines{{kError, "C_FindObjects() => 0x00000030"}, {kError, "C_FindObjectsFinal() => 0x00000032"}}));
}

TEST_F(FindObjectsTest, MoreHandlesThanAskedForBreakTheSearchOff) {
  for (const CK_ULONG claimed : {CK_ULONG{33}, CK_UNAVAILABLE_INFORMATION}) {
    ScriptedCard card({{"C_FindObjectsInit"}, {"C_FindObjects", CKR_OK, Claims(claimed)}, {"C_FindObjectsFinal"}});
    EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Error while searching for objects on the card"));
  }
  EXPECT_EQ(m_log.Errors().front(), "C_FindObjects() answers with 33 objects, asked for at most 32");
}
