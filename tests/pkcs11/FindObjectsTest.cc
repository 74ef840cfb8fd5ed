#include "pkcs11/FindObjects.h"

#include <algorithm>
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

/// Answers every request of a search with a full batch: a search without an end.
class EndlessCard : public Card {
 public:
  CK_ULONG batch = 32;

 protected:
  CK_RV Answer(Call& call) override {
    if (std::string(call.name) == "C_FindObjects") *call.outputLength = batch;
    return CKR_OK;
  }
};

/// Holds so many objects and answers with full batches as long as it can.
class CountingCard : public Card {
 public:
  explicit CountingCard(CK_ULONG objects) : m_left(objects) {}

 protected:
  CK_RV Answer(Call& call) override {
    if (std::string(call.name) != "C_FindObjects") return CKR_OK;
    *call.outputLength = std::min<CK_ULONG>(m_left, call.capacity);
    m_left -= *call.outputLength;
    return CKR_OK;
  }

 private:
  CK_ULONG m_left;
};

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
  ScriptedCard card(TestCard::Search({9, 4}, &rows));
  const ByteString id = {0x12, 0x00};
  EXPECT_EQ(PKCS11::FindFirstByID(kSession, CKO_PUBLIC_KEY, id.data(), id.size()), 9u);
  EXPECT_EQ(rows, (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_PUBLIC_KEY)}, {CKA_ID, {0x12, 0x00}}}));
}

TEST_F(FindObjectsTest, ByIdTheFirstOfAllBatchesIsTakenAndTheSearchRunToItsEnd) {
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({9})},
                     {"C_FindObjects", CKR_OK, Handles({4, 5})},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal"}});
  const CK_BYTE id = 0x12;
  EXPECT_EQ(PKCS11::FindFirstByID(kSession, CKO_PRIVATE_KEY, &id, 1), 9u);
}

TEST_F(FindObjectsTest, HandlesAreTakenAsTheyComeEvenTwiceAndZero) {
  ScriptedCard card(TestCard::Search({9, 9, 0, 4, 9}));
  EXPECT_EQ(Find(), (Objects{9, 9, 0, 4, 9}));
}

TEST_F(FindObjectsTest, ByIdTheFirstIsTakenWhateverItsNumber) {
  for (const CK_OBJECT_HANDLE first : {CK_OBJECT_HANDLE{0}, CK_OBJECT_HANDLE{9}, ~CK_OBJECT_HANDLE{0}}) {
    ScriptedCard card(TestCard::Search({first, 4, 10}));
    const CK_BYTE id = 0x12;
    EXPECT_EQ(PKCS11::FindFirstByID(kSession, CKO_PRIVATE_KEY, &id, 1), first);
  }
}

TEST_F(FindObjectsTest, ByAnEmptyIdHasAByteToPointTo) {
  const auto check = [](Call& call) {
    ASSERT_EQ(call.attributeCount, 2u);
    EXPECT_EQ(call.attributes[1].type, CK_ATTRIBUTE_TYPE{CKA_ID});
    EXPECT_NE(call.attributes[1].pValue, nullptr);
    EXPECT_EQ(call.attributes[1].ulValueLen, 0u);
  };
  ScriptedCard card(
      {{"C_FindObjectsInit", CKR_OK, check}, {"C_FindObjects", CKR_OK, Handles({})}, {"C_FindObjectsFinal"}});
  EXPECT_EQ(PKCS11::FindFirstByID(kSession, CKO_PRIVATE_KEY, nullptr, 0), std::nullopt);
}

TEST_F(FindObjectsTest, ASearchThatFindsExactlyTheMostObjectsIsNoEndlessOne) {
  CountingCard card(1'000'000);
  EXPECT_EQ(Find().size(), 1'000'000u);
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_F(FindObjectsTest, ASearchThatFindsOneMoreBreaksOff) {
  CountingCard card(1'000'001);
  EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Error while searching for objects on the card"));
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

TEST_F(FindObjectsTest, ASearchWithoutAnEndBreaksOffAtAMillionObjectsAndIsEnded) {
  EndlessCard card;
  EXPECT_TRUE(IsFailure(FailureOfFind(), -6, "Error while searching for objects on the card"));
  EXPECT_EQ(card.Count("C_FindObjects"), 1'000'000 / 32 + 1);
  EXPECT_EQ(card.Calls().back(), "C_FindObjectsFinal session=42");
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_FindObjects() finds more than 1000000 objects"}}));
}
