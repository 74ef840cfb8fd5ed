#include "pkcs11/Slots.h"

#include "tests/pkcs11/CardTest.h"

using namespace TestCard;
using SlotIDs = std::vector<CK_SLOT_ID>;

class SlotListTest : public CardTest {
 protected:
  static std::optional<QELTokenException> Failure() { return CatchTokenException(PKCS11::SlotList); }
};

TEST_F(SlotListTest, AsksForTheCountThenForAllSlotsWithOrWithoutAToken) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(2)}, {"C_GetSlotList", CKR_OK, Slots({9, 4})}});
  EXPECT_EQ(PKCS11::SlotList(), (SlotIDs{9, 4}));
  EXPECT_EQ(card.Calls(),
            (Texts{"C_GetSlotList tokenPresent=0 output=?", "C_GetSlotList tokenPresent=0 output=buffer"}));
}

TEST_F(SlotListTest, TheSlotsAreTheLibrarysInItsOrderEvenTwice) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(5)}, {"C_GetSlotList", CKR_OK, Slots({9, 4, 4, 0, 9})}});
  EXPECT_EQ(PKCS11::SlotList(), (SlotIDs{9, 4, 4, 0, 9}));
}

TEST_F(SlotListTest, TheListIsZeroBeforeTheLibraryFillsIt) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(2)}, {"C_GetSlotList"}});
  EXPECT_EQ(PKCS11::SlotList(), (SlotIDs{0, 0}));
}

TEST_F(SlotListTest, TheCountOfTheSecondCallHolds) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(3)}, {"C_GetSlotList", CKR_OK, Slots({9, 4})}});
  EXPECT_EQ(PKCS11::SlotList(), (SlotIDs{9, 4}));
}

TEST_F(SlotListTest, MoreSlotsThanWereAskedForAreCutOff) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(1)}, {"C_GetSlotList", CKR_OK, [](Call& call) {
                                                                 *static_cast<CK_SLOT_ID*>(call.output) = 9;
                                                                 *call.outputLength = 1000;
                                                               }}});
  EXPECT_EQ(PKCS11::SlotList(), (SlotIDs{9}));
}

TEST_F(SlotListTest, ACountThatNoLibraryMeansIsAFailure) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(CK_UNAVAILABLE_INFORMATION)}});
  EXPECT_TRUE(IsFailure(Failure(), -4, "Getting slot list failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetSlotList() reports no usable number of slots"}}));
}

TEST_F(SlotListTest, TheLargestCountOfAllIsReadAndOneMoreIsNot) {
  constexpr CK_ULONG kMost = 64UL * 1024 * 1024 / sizeof(CK_SLOT_ID);
  {
    ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(kMost)}, {"C_GetSlotList", CKR_OK, SlotCount(kMost)}});
    EXPECT_EQ(PKCS11::SlotList().size(), kMost);
  }
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(kMost + 1)}});
  EXPECT_TRUE(IsFailure(Failure(), -4, "Getting slot list failed"));
}

TEST_F(SlotListTest, ARefusedCountIsLoggedAndThrown) {
  ScriptedCard card({{"C_GetSlotList", CKR_GENERAL_ERROR}});
  EXPECT_TRUE(IsFailure(Failure(), -4, "Getting slot list failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetSlotList() => 0x00000005"}}));
}

TEST_F(SlotListTest, AReaderThatAppearsBetweenTheCallsIsAFailure) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(1)}, {"C_GetSlotList", CKR_BUFFER_TOO_SMALL}});
  EXPECT_TRUE(IsFailure(Failure(), -4, "Getting slot list failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetSlotList() => 0x00000150"}}));
}

TEST_F(SlotListTest, NoSlotsAreAFailureOfTheirOwn) {
  ScriptedCard card({{"C_GetSlotList", CKR_OK, SlotCount(0)}});
  EXPECT_TRUE(IsFailure(Failure(), -4, "No smart card reader found"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "no slot found"}}));
}

class DescriptionOfSlotTest : public CardTest {};

TEST_F(DescriptionOfSlotTest, ReturnsAll64BytesAsTheyAre) {
  ScriptedCard card({{"C_GetSlotInfo", CKR_OK, Description(std::string(64, '\xFF'))}});
  const PKCS11::SlotDescription description = PKCS11::DescriptionOfSlot(9);
  EXPECT_EQ(std::string(description.begin(), description.end()), std::string(64, '\xFF'));
  EXPECT_EQ(card.Calls(), Texts{"C_GetSlotInfo slot=9"});
}

TEST_F(DescriptionOfSlotTest, AFailureIsLoggedUnderTheNameOfTheListCall) {
  ScriptedCard card({{"C_GetSlotInfo", CKR_SLOT_ID_INVALID}});
  EXPECT_TRUE(IsFailure(CatchTokenException([] { PKCS11::DescriptionOfSlot(9); }), -4, "Getting slot info failed"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetSlotList() => 0x00000003"}}));
}
