#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"
#include "tests/support/Failure.h"
#import "tests/token/TokenTest.h"

using TestCard::FakeCard;
using TestCard::FakeSlot;
using SlotIDs = std::vector<CK_SLOT_ID>;

namespace {

/// A reader, the descriptions of the library's slots, and which of them are the reader's, counted from 1.
struct Matching {
  const char *name;
  NSString *reader;
  Texts descriptions;
  SlotIDs matches;
};

void PrintTo(const Matching &matching, std::ostream *stream) {
  *stream << [matching.reader UTF8String];
}

std::vector<FakeSlot> SlotsDescribedAs(const Texts &descriptions) {
  std::vector<FakeSlot> slots;
  for (const std::string &description : descriptions) slots.push_back({slots.size() + 1, description});
  return slots;
}

const std::string kLongName(64, 'R');

}  // namespace

class QELTokenSlots : public TokenTest {
 protected:
  /// The slots of the reader by their identifiers; nothing when the look-up fails, see m_failure.
  SlotIDs Match(NSString *reader) {
    SlotIDs slots;
    @autoreleasepool {
      QELToken *token = [[QELToken alloc] autorelease];
      m_failure = CatchTokenException([&] {
        for (NSNumber *slot in [token slotsCorrespondingToSmartCard:SmartCard(reader)]) {
          slots.push_back([slot unsignedLongValue]);
        }
      });
    }
    return slots;
  }

  PKCS11::ScopedFunctionList m_functions{TestCard::FunctionList()};
  std::optional<QELTokenException> m_failure;
};

class QELTokenSlotMatching : public QELTokenSlots, public ::testing::WithParamInterface<Matching> {};

// clang-format off
INSTANTIATE_TEST_SUITE_P(, QELTokenSlotMatching, ::testing::Values(
  Matching{"TheWholeName", @"Example Reader 0", {"Example Reader 0"}, {1}},
  Matching{"EverySlotThatContainsTheNameInListOrder", @"Example Reader 0", {"Example Reader 0", "Example Reader 01"}, {1, 2}},
  Matching{"TheNameAnywhereInTheDescription", @"Example Reader 0", {"ACME Example Reader 0 (contact)"}, {1}},
  Matching{"OnlyTheMatchingSlots", @"Example Reader 1", {"Example Reader 0", "Example Reader 1", "Other", "Example Reader 1 b"}, {2, 4}},
  Matching{"ANameOfOneLetter", @"E", {"Example Reader 0"}, {1}},
  Matching{"ADescriptionOfOneLetter", @"E", {"E"}, {1}},
  Matching{"NotTheOtherWayRound", @"Example Reader 0 with a longer name", {"Example Reader 0"}, {}},
  Matching{"NotInAnotherCase", @"example reader", {"Example Reader"}, {}},
  Matching{"NotInAnotherCaseOfOtherLetters", @"\u00C4rzte", {"\xC3\xA4rzte"}, {}},
  Matching{"NotWithoutItsDiacritics", @"Leser", {"L\xC3\xA9ser"}, {}},
  Matching{"NotWithDecomposedLetters", @"L\u00E9ser", {"Le\xCC\x81ser"}, {}},
  Matching{"OtherLettersLiterally", @"L\u00E9ser", {"L\xC3\xA9ser 0"}, {1}},
  Matching{"BlanksAndTabsAroundTheDescriptionDoNotMatter", @"Example Reader 0", {" \t Example Reader 0 \t"}, {1}},
  Matching{"BlanksInsideTheDescriptionMatter", @"Example Reader 0", {"Example  Reader 0"}, {}},
  Matching{"BlanksAtTheEndOfTheNameMatter", @"Example Reader 0 ", {"Example Reader 0"}, {}},
  Matching{"ANameThatFillsTheDescription", [NSString stringWithUTF8String:kLongName.c_str()], {kLongName}, {1}},
  Matching{"NotInvalidUtf8EvenBehindTheName", @"Example Reader 0", {"Example Reader 0 \xFF"}, {}},
  Matching{"InvalidUtf8IsNoFailure", @"Example Reader 0", {"\xC3\x28", "Example Reader 0"}, {2}},
  Matching{"NotALetterCutByTheEndOfTheDescription", @"Reader", {"Reader " + std::string(56, '.') + "\xC3\xA9"}, {}},
  Matching{"TheNameBeforeAZeroByte", @"Example Reader 0", {std::string("Example Reader 0\0rest", 21)}, {1}},
  Matching{"TheNameBehindAZeroByte", @"Example Reader 0", {std::string("ACME\0Example Reader 0", 21)}, {1}},
  Matching{"NoDescription", @"Example Reader 0", {""}, {}},
  Matching{"NoName", @"", {"Example Reader 0", ""}, {}}
), [](const auto &info) { return std::string(info.param.name); });
// clang-format on

TEST_P(QELTokenSlotMatching, Matches) {
  FakeCard card(SlotsDescribedAs(GetParam().descriptions));
  EXPECT_EQ(Match(GetParam().reader), GetParam().matches);
  EXPECT_EQ(card.Count("C_GetSlotInfo"), static_cast<int>(GetParam().descriptions.size()));
  EXPECT_EQ(!m_failure, !GetParam().matches.empty());
  if (m_failure) EXPECT_TRUE(IsFailure(m_failure, -4, "Requested smart card reader not found"));
}

TEST_F(QELTokenSlots, ReturnsANewMutableArrayOfUnsignedLongNumbers) {
  FakeCard card({{0xFFFFFFFFFFFFFFF0, kReader}});
  @autoreleasepool {
    QELToken *token = [[QELToken alloc] autorelease];
    NSMutableArray<NSNumber *> *slots = [token slotsCorrespondingToSmartCard:SmartCard()];
    EXPECT_EQ([[slots lastObject] unsignedLongValue], 0xFFFFFFFFFFFFFFF0);
    EXPECT_STREQ([[slots lastObject] objCType], @encode(unsigned long));
    [slots addObject:@1];
    EXPECT_NE(slots, [token slotsCorrespondingToSmartCard:SmartCard()]);
  }
}

TEST_F(QELTokenSlots, ExaminesEverySlotWithOrWithoutATokenAndNothingElse) {
  FakeCard card(SlotsDescribedAs({"Example Reader 0", "Other"}));
  Match(@"Example Reader 0");
  EXPECT_EQ(card.Calls(), (Texts{"C_GetSlotList tokenPresent=0 output=?", "C_GetSlotList tokenPresent=0 output=buffer",
                                 "C_GetSlotInfo slot=1", "C_GetSlotInfo slot=2"}));
}

TEST_F(QELTokenSlots, LogsTheReaderAndEveryTrimmedDescriptionAtInfoLevel) {
  FakeCard card(SlotsDescribedAs({"  Example Reader 0\t", "Example\nReader\n", "\xFF"}));
  Match(@"Example Reader 0");
  EXPECT_EQ(m_log.Lines(), (LogLines{{kInfo, "CTK slot name: Example Reader 0"},
                                     {kInfo, "slotName Example Reader 0"},
                                     {kInfo, "slotName Example\nReader\n"},
                                     {kInfo, "slotName (null)"}}));
}

TEST_F(QELTokenSlots, ManySlotsAreAllExamined) {
  FakeCard card(SlotsDescribedAs(Texts(100, "Example Reader 0")));
  EXPECT_EQ(Match(@"Example Reader 0").size(), 100u);
}

TEST_F(QELTokenSlots, AListThatShrinksIsReadToItsNewEnd) {
  using namespace TestCard;
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(3)},
                     {"C_GetSlotList", CKR_OK, Slots({5})},
                     {"C_GetSlotInfo", CKR_OK, Description(kReader)}});
  EXPECT_EQ(Match(@"Example Reader 0"), SlotIDs{5});
}

TEST_F(QELTokenSlots, AListThatShrinksToNothingHoldsNoReader) {
  using namespace TestCard;
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(3)}, {"C_GetSlotList", CKR_OK, Slots({})}});
  Match(@"Example Reader 0");
  EXPECT_TRUE(IsFailure(m_failure, -4, "Requested smart card reader not found"));
}

TEST_F(QELTokenSlots, AFailureAfterAMatchLosesTheMatch) {
  FakeCard card(SlotsDescribedAs({"Example Reader 0", "Example Reader 0"}));
  card.Fail("C_GetSlotInfo", CKR_SLOT_ID_INVALID, 2);
  EXPECT_EQ(Match(@"Example Reader 0"), SlotIDs{});
  EXPECT_TRUE(IsFailure(m_failure, -4, "Getting slot info failed"));
  EXPECT_EQ(m_log.Errors(), Texts{"C_GetSlotList() => 0x00000003"});
}
