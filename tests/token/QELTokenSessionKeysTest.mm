#include "pkcs11/QELTokenException.h"
#include "tests/support/Failure.h"
#import "tests/token/SessionTest.h"
#import "token/NSExceptionSeam.h"

using TestCard::ScriptedCard;
using TestCard::TemplateRow;
using TestCard::Ulong;

class QELTokenSessionKeys : public SessionTest {
 protected:
  bool IsLoggedIn(CK_STATE state) {
    m_card.ForceState(state);
    return [m_session isUserLoggedIn] != NO;
  }
};

class QELTokenSessionKeysOnTwoSlots : public TwoSlotTest {
 protected:
  /// Index of the pair that is current after a selection that started from the other one.
  NSUInteger Selected(std::initializer_list<int> identifier, NSUInteger before) {
    [m_session setHCurrentPair:[[m_session hSlotSessionPairs] objectAtIndex:before]];
    [m_session selectPairByKeyID:Data(identifier)];
    return [[m_session hSlotSessionPairs] indexOfObjectIdenticalTo:[m_session hCurrentPair]];
  }
};

TEST_F(QELTokenSessionKeysOnTwoSlots, ThePrefixSelectsThePair) {
  EXPECT_EQ(Selected({0x11, 0x01}, 1), 0u);
  EXPECT_EQ(Selected({0x12, 0x01}, 1), 0u);
  EXPECT_EQ(Selected({0x12}, 1), 0u);
  EXPECT_EQ(Selected({0x21, 0x01}, 0), 1u);
  EXPECT_EQ(Selected({0x22, 0x01}, 0), 1u);
  EXPECT_EQ(Selected({0xE2}, 0), 1u);
}

TEST_F(QELTokenSessionKeysOnTwoSlots, OfEveryPrefixTheTwoBitsAloneCount) {
  for (int prefix = 0; prefix <= 0xFF; ++prefix) {
    for (const NSUInteger before : {0u, 1u}) {
      const NSUInteger other = (prefix & 0x20) != 0 ? 1 : before;
      EXPECT_EQ(Selected({prefix, 0x30}, before), (prefix & 0x10) != 0 ? 0 : other) << prefix;
    }
  }
}

class QELTokenSessionKeysOnThreeSlots : public SessionTest {
 protected:
  QELTokenSessionKeysOnThreeSlots() : SessionTest(ThreeSlots()) {}
};

TEST_F(QELTokenSessionKeysOnThreeSlots, TheLaterSlotsPrefixSelectsTheSecondOfThem) {
  ASSERT_EQ([[m_session hSlotSessionPairs] count], 3u);
  [m_session selectPairByKeyID:Data({0x22, 0x0A})];
  EXPECT_EQ([[m_session hCurrentPair] hSlot], 0x100000003u);
  [m_session selectPairByKeyID:Data({0x12, 0x0A})];
  EXPECT_EQ([[m_session hCurrentPair] hSlot], 3u);
  EXPECT_NE(Sign(Block(), RawRsa(), nullptr, Data({0x22, 0x0A})), nil);
  EXPECT_EQ(m_card.Calls().front(), "C_GetSessionInfo session=102");
}

TEST_F(QELTokenSessionKeysOnThreeSlots, AKeyOfTheThirdIsLookedForInTheSecond) {
  NSError *error = nil;
  EXPECT_EQ(Sign(Block(), RawRsa(), &error, Data({0x22, 0x0C})), nil);
  EXPECT_TRUE(IsError(error, @"QELToken", -7));
}

TEST_F(QELTokenSessionKeysOnTwoSlots, BothBitsSelectTheFirstPair) {
  EXPECT_EQ(Selected({0x32, 0x01}, 1), 0u);
}

TEST_F(QELTokenSessionKeysOnTwoSlots, APrefixOfNeitherSlotChangesNothing) {
  for (const NSUInteger before : {0u, 1u}) {
    EXPECT_EQ(Selected({0x02, 0x10}, before), before);
    EXPECT_EQ(Selected({0xCF, 0x20}, before), before);
    EXPECT_EQ(Selected({}, before), before);
  }
}

TEST_F(QELTokenSessionKeysOnTwoSlots, TheSelectedPairStaysCurrentAfterAnOperation) {
  Sign(Block(), RawRsa(), nullptr, LaterRsaKey());
  EXPECT_EQ([[m_session hCurrentPair] hSlot], 8u);
}

TEST_F(QELTokenSessionKeys, ALaterSlotThatTheTokenDoesNotHaveRaises) {
  NSException *raised = CatchNSException([&] { [m_session selectPairByKeyID:Data({0x22, 0x01})]; });
  EXPECT_STREQ([[raised name] UTF8String], [NSRangeException UTF8String]);
  EXPECT_EQ([[m_session hCurrentPair] hSlot], 7u);
}

TEST_F(QELTokenSessionKeys, PrivateKeysAreSearchedByClassAndIdAndTheFirstIsTaken) {
  std::vector<TemplateRow> rows;
  ScriptedCard script(TestCard::Search({31, 30}, &rows));
  EXPECT_EQ([m_session findPrivateKeyWithKeyID:Data({0x12, 0x01, 0x02})], 31u);
  EXPECT_EQ(rows, (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_PRIVATE_KEY)}, {CKA_ID, {0x01, 0x02}}}));
}

TEST_F(QELTokenSessionKeys, AMissingPrivateKeyIsTheFailureMinusSevenWithoutALogLine) {
  const auto failure = CatchTokenException([&] { [m_session findPrivateKeyWithKeyID:Data({0x12, 0x77})]; });
  EXPECT_TRUE(IsFailure(failure, -7, "Private key not found"));
  EXPECT_EQ(m_log.Lines().size(), 0u);
}

TEST_F(QELTokenSessionKeys, OnlyUserSessionsAreLoggedIn) {
  EXPECT_FALSE(IsLoggedIn(CKS_RO_PUBLIC_SESSION));
  EXPECT_TRUE(IsLoggedIn(CKS_RO_USER_FUNCTIONS));
  EXPECT_FALSE(IsLoggedIn(CKS_RW_PUBLIC_SESSION));
  EXPECT_TRUE(IsLoggedIn(CKS_RW_USER_FUNCTIONS));
  EXPECT_FALSE(IsLoggedIn(CKS_RW_SO_FUNCTIONS));
}

TEST_F(QELTokenSessionKeys, AStateIsComparedWhole) {
  for (const CK_STATE state : {0x100000001UL, 0x100000003UL, ~0UL}) {
    ScriptedCard script({{"C_GetSessionInfo", CKR_OK, TestCard::State(state)}});
    EXPECT_FALSE([m_session isUserLoggedIn]) << state;
  }
}

TEST_F(QELTokenSessionKeys, ABarePrefixSearchesForAnEmptyIdWithAByteToPointTo) {
  bool pointed = false;
  const auto look = [&](TestCard::Call &call) { pointed = call.attributes[1].pValue != nullptr; };
  ScriptedCard script({{"C_FindObjectsInit", CKR_OK, look},
                       {"C_FindObjects", CKR_OK, TestCard::Handles({3})},
                       {"C_FindObjects", CKR_OK, TestCard::Handles({})},
                       {"C_FindObjectsFinal"}});
  EXPECT_EQ([m_session findPrivateKeyWithKeyID:Data({0x12})], 3u);
  EXPECT_TRUE(pointed);
}

TEST_F(QELTokenSessionKeysOnTwoSlots, TheLoginIsAskedOfTheCurrentPair) {
  [m_session selectPairByKeyID:Data({0x22})];
  EXPECT_TRUE([m_session isUserLoggedIn]);
  EXPECT_EQ(m_card.Calls(), Texts{"C_GetSessionInfo session=102"});
}

TEST_F(QELTokenSessionKeys, AnInvalidSessionIsTheFailureMinusEight) {
  m_card.Fail("C_GetSessionInfo", CKR_SESSION_HANDLE_INVALID);
  const auto failure = CatchTokenException([&] { [m_session isUserLoggedIn]; });
  EXPECT_TRUE(IsFailure(failure, -8, "Session is invalid"));
  EXPECT_EQ(m_log.Errors(), Texts{"C_GetSessionInfo() => 0x000000B3"});
}
