#import "tests/token/SessionTest.h"

using TestCard::FakeCard;
using TestCard::FakeSlot;

/// A pair that tells the order in which it is filled.
@interface ToldPair : SlotSessionPair
@end

static std::vector<std::string> s_told;

@implementation ToldPair
- (void)setHSlot:(CK_SLOT_ID)slot {
  s_told.push_back("slot " + std::to_string(slot));
  [super setHSlot:slot];
}
- (void)setHSession:(CK_SESSION_HANDLE)session {
  s_told.push_back("session " + std::to_string(session));
  [super setHSession:session];
}
@end

@interface OtherSession : QELTokenSession
@end

@implementation OtherSession
@end

class QELTokenSessionCreation : public TokenTest {
 protected:
  /// One slot for each value: whether its token asks for the reader's PIN pad.
  static std::vector<FakeSlot> Slots(std::initializer_list<bool> pinPads) {
    std::vector<FakeSlot> slots;
    for (const bool pinPad : pinPads) {
      slots.push_back(OneSlot().front());
      slots.back().id = 7 + slots.size() - 1;
      slots.back().tokenFlags = pinPad ? CKF_PROTECTED_AUTHENTICATION_PATH : CKF_LOGIN_REQUIRED;
    }
    return slots;
  }

  static bool IsPinPad(std::initializer_list<bool> pinPads) {
    FakeCard card(Slots(pinPads));
    @autoreleasepool {
      return [MakeSession(MakeToken()) isPinPad] != NO;
    }
  }
};

TEST_F(QELTokenSessionCreation, TakesThePairsOfTheTokenInSlotOrderAndStartsWithTheFirst) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    QELToken *token = MakeToken();
    card.ClearCalls();
    QELTokenSession *session = MakeSession(token);
    NSArray<SlotSessionPair *> *pairs = [session hSlotSessionPairs];
    ASSERT_EQ([pairs count], 2u);
    EXPECT_EQ([[pairs objectAtIndex:0] hSlot], 7u);
    EXPECT_EQ([[pairs objectAtIndex:0] hSession], 101u);
    EXPECT_EQ([[pairs objectAtIndex:1] hSlot], 8u);
    EXPECT_EQ([[pairs objectAtIndex:1] hSession], 102u);
    EXPECT_EQ([session hCurrentPair], [pairs objectAtIndex:0]);
    EXPECT_EQ([session token], token);
    EXPECT_EQ(card.Calls(), (Texts{"C_GetTokenInfo slot=7", "C_GetTokenInfo slot=8"}));
  }
}

TEST_F(QELTokenSessionCreation, StartsWithTheFirstPairWhicheverSlotsHavePinPads) {
  const auto first = [](std::initializer_list<bool> pinPads) {
    FakeCard card(Slots(pinPads));
    @autoreleasepool {
      return [[MakeSession(MakeToken()) hCurrentPair] hSlot];
    }
  };
  EXPECT_EQ(first({true, true}), 7u);
  EXPECT_EQ(first({false, true}), 7u);
  EXPECT_EQ(first({true, false}), 7u);
  EXPECT_EQ(first({true, true, true}), 7u);
}

TEST_F(QELTokenSessionCreation, TheLastSlotDecidesAboutThePinPad) {
  EXPECT_FALSE(IsPinPad({false}));
  EXPECT_TRUE(IsPinPad({true}));
  EXPECT_TRUE(IsPinPad({false, true}));
  EXPECT_FALSE(IsPinPad({true, false}));
  EXPECT_TRUE(IsPinPad({false, false, true}));
}

TEST_F(QELTokenSessionCreation, OfTheTokensFlagsOneAloneTellsOfThePinPad) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    const auto isPinPad = [&](CK_FLAGS flags) {
      card.Slots().front().tokenFlags = flags;
      return [MakeSession(token) isPinPad] != NO;
    };
    for (int bit = 0; bit < 64; ++bit) EXPECT_EQ(isPinPad(CK_FLAGS{1} << bit), bit == 8) << bit;
    EXPECT_TRUE(isPinPad(~CK_FLAGS{0}));
    EXPECT_FALSE(isPinPad(~CK_FLAGS{CKF_PROTECTED_AUTHENTICATION_PATH}));
  }
}

TEST_F(QELTokenSessionCreation, UnreadableTokenInformationGivesNilAndLeavesTheErrorUntouched) {
  for (const int failing : {1, 2}) {
    FakeCard card(TwoSlots());
    @autoreleasepool {
      QELToken *token = MakeToken();
      const CapturedLog log;
      card.ClearCalls();
      card.Fail("C_GetTokenInfo", CKR_TOKEN_NOT_PRESENT, failing);
      NSError *error = UntouchedError();
      EXPECT_EQ([token token:token createSessionWithError:&error], nil);
      EXPECT_EQ(error, UntouchedError());
      EXPECT_EQ(log.Errors(), Texts{"C_GetTokenInfo() => 0x000000E0"});
      EXPECT_EQ(card.Count("C_GetTokenInfo"), failing);

      card.Fail("C_GetTokenInfo", CKR_TOKEN_NOT_PRESENT);
      EXPECT_EQ([token token:token createSessionWithError:nullptr], nil);
    }
  }
}

TEST_F(QELTokenSessionCreation, ATokenWithoutSlotsGivesASessionWithoutACurrentPair) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    NSMutableArray *slots = [[[token hSlots] retain] autorelease];
    [token setHSlots:[NSMutableArray array]];
    QELTokenSession *session = MakeSession(token);
    EXPECT_NE(session, nil);
    EXPECT_EQ([session hCurrentPair], nil);
    EXPECT_FALSE([session isPinPad]);
    [token setHSlots:slots];
  }
}

TEST_F(QELTokenSessionCreation, TheTokensSlotsAreCountedAnewOnEveryPass) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    QELToken *token = MakeToken();
    NSMutableArray *slots = [[[token hSlots] retain] autorelease];
    const TestCard::ScriptedCard script({{"C_GetTokenInfo", CKR_OK, [&](TestCard::Call &) {
                                            [token setHSlots:[NSMutableArray arrayWithObject:[slots firstObject]]];
                                          }}});
    EXPECT_EQ([[MakeSession(token) hSlotSessionPairs] count], 1u);
    [token setHSlots:slots];
  }
}

TEST_F(QELTokenSessionCreation, ReleasingASessionLeavesTheCardsSessionsOpen) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    @autoreleasepool {
      MakeSession(token);
    }
    EXPECT_EQ(card.OpenSessions(), 1);
    EXPECT_EQ(card.Count("C_CloseSession"), 0);
  }
  EXPECT_EQ(card.OpenSessions(), 0);
}

TEST_F(QELTokenSessionCreation, APairKeepsItsTwoHandlesWhole) {
  SlotSessionPair *pair = [[[SlotSessionPair alloc] initWithSlotSession:0xFFFFFFFF00000001UL
                                                                session:0xFFFFFFFF00000002UL] autorelease];
  EXPECT_EQ([pair hSlot], 0xFFFFFFFF00000001UL);
  EXPECT_EQ([pair hSession], 0xFFFFFFFF00000002UL);
}

TEST_F(QELTokenSessionCreation, APairTakesTheSessionFirstThroughItsSetters) {
  s_told.clear();
  [[[ToldPair alloc] initWithSlotSession:7 session:101] release];
  EXPECT_EQ(s_told, (Texts{"session 101", "slot 7"}));
}

TEST_F(QELTokenSessionCreation, ASessionIsOfTheClassThatIsAskedAndOfTheTokenThatIsAsked) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    EXPECT_TRUE([[OtherSession sessionWithToken:token] isMemberOfClass:[OtherSession class]]);
    EXPECT_TRUE([MakeSession(token) isMemberOfClass:[QELTokenSession class]]);
    EXPECT_EQ([[token token:MakeToken() createSessionWithError:nullptr] token], token);
  }
}

TEST_F(QELTokenSessionCreation, TheTokensArraysAreKeptAndNotCopied) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    NSMutableArray *slots = [NSMutableArray arrayWithObject:[NSNumber numberWithUnsignedLong:7]];
    NSMutableArray *sessions = [[[token hSessions] mutableCopy] autorelease];
    [token setHSlots:slots];
    [token setHSessions:sessions];
    EXPECT_EQ([token hSlots], slots);
    EXPECT_EQ([token hSessions], sessions);

    QELTokenSession *session = MakeSession(token);
    NSMutableArray *pairs = [[[session hSlotSessionPairs] mutableCopy] autorelease];
    [session setHSlotSessionPairs:pairs];
    EXPECT_EQ([session hSlotSessionPairs], pairs);
    EXPECT_TRUE([[session hSlotSessionPairs] isKindOfClass:[NSMutableArray class]]);
  }
}
