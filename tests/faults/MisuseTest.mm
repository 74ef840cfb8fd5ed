// What callers must not do: nothing of it may touch memory that is not ours or lose a session.

#include <thread>

#import "tests/token/TokenTest.h"
#import "token/NSExceptionSeam.h"

using TestCard::FakeCard;

class Misuse : public TokenTest {
 protected:
  static NSData *Nothing() { return nil; }
  static NSData *Empty() { return [NSData data]; }
  static NSData *Sign(QELTokenSession *session, NSData *data, NSData *key, NSError **error) {
    return [session tokenSession:session
                        signData:data
                        usingKey:key
                       algorithm:Algorithm({kSecKeyAlgorithmRSASignatureRaw})
                           error:error];
  }
};

TEST_F(Misuse, NilAndEmptyDataAreRefusedAsWrongPadding) {
  for (NSData *data : {Nothing(), Empty(), Data({0x00})}) {
    FakeCard card(OneSlot());
    @autoreleasepool {
      QELTokenSession *session = MakeSession(MakeToken());
      card.LogIn();
      NSError *error = nil;
      EXPECT_EQ(Sign(session, data, Data({0x12, 0x01, 0x02}), &error), nil);
      EXPECT_EQ(error, nil);
    }
  }
}

TEST_F(Misuse, AnEmptyKeyIdentifierFindsNoKey) {
  for (NSData *key : {Nothing(), Empty(), Data({0x12}), Data({0x00, 0x01, 0x02, 0x03})}) {
    FakeCard card(OneSlot());
    @autoreleasepool {
      QELTokenSession *session = MakeSession(MakeToken());
      card.LogIn();
      NSError *error = nil;
      EXPECT_EQ(Sign(session, Data({0, 1, 0}), key, &error), nil);
      EXPECT_TRUE(IsError(error, @"QELToken", -7));
    }
  }
}

TEST_F(Misuse, APrefixOfASlotThatTheTokenLacksRaises) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELTokenSession *session = MakeSession(MakeToken());
    card.LogIn();
    NSException *raised = CatchNSException([&] { Sign(session, Data({0, 1, 0}), Data({0x22, 0x01, 0x02}), nullptr); });
    EXPECT_STREQ([[raised name] UTF8String], "NSRangeException");
  }
}

TEST_F(Misuse, ASupportQuestionForAnUnknownKeyOrOperationIsAnsweredNo) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELTokenSession *session = MakeSession(MakeToken());
    TKTokenKeyAlgorithm *algorithm = Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256});
    const auto supports = [&](NSInteger operation, NSData *key, TKTokenKeyAlgorithm *asked) {
      return [session tokenSession:session
                 supportsOperation:static_cast<TKTokenOperation>(operation)
                          usingKey:key
                         algorithm:asked];
    };
    EXPECT_TRUE(supports(TKTokenOperationSignData, Data({0x12, 0x01, 0x02}), algorithm));
    EXPECT_FALSE(supports(TKTokenOperationSignData, Data({0x12, 0x09}), algorithm));
    EXPECT_FALSE(supports(TKTokenOperationSignData, [NSData data], algorithm));
    EXPECT_FALSE(supports(TKTokenOperationSignData, Data({0x11, 0x01, 0x02}), algorithm));
    EXPECT_FALSE(supports(TKTokenOperationSignData, Data({0x12, 0x01, 0x02}), nil));
    for (NSInteger operation : {-1, 0, 1, 5, 1000}) {
      EXPECT_FALSE(supports(operation, Data({0x12, 0x01, 0x02}), algorithm)) << operation;
    }
  }
}

TEST_F(Misuse, AnEmptyPeerKeyReachesTheCardAsNoPoint) {
  for (NSData *peer : {Nothing(), Empty(), Data({0x04})}) {
    FakeCard card(OneSlot());
    @autoreleasepool {
      QELTokenSession *session = MakeSession(MakeToken());
      card.LogIn();
      auto *parameters = [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:-1 sharedInfo:nil] autorelease];
      [session tokenSession:session
          performKeyExchangeWithPublicKey:peer
                                 usingKey:Data({0x12, 0x03, 0x04})
                                algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})
                               parameters:parameters
                                    error:nullptr];
      EXPECT_EQ(card.Count("C_DeriveKey"), 1);
      EXPECT_TRUE(card.publicData.empty());
    }
  }
}

TEST_F(Misuse, ASessionOutlivesItsTokenWithoutHarm) {
  FakeCard card(OneSlot());
  QELTokenSession *session = nil;
  @autoreleasepool {
    session = [MakeSession(MakeToken()) retain];
  }
  // The session keeps its token, and with it the card's sessions.
  EXPECT_EQ(card.OpenSessions(), 1);
  [session release];
  EXPECT_EQ(card.OpenSessions(), 0);
}

TEST_F(Misuse, TwoThreadsMaySelectPairsOnOneSession) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    QELTokenSession *session = MakeSession(MakeToken());
    const auto select = [&](int prefix) {
      @autoreleasepool {
        NSData *key = Data({prefix, 0x01});
        for (int i = 0; i < 1000; ++i) {
          [session selectPairByKeyID:key];
          EXPECT_TRUE([[session hSlotSessionPairs] containsObject:[session hCurrentPair]]);
        }
      }
    };
    std::thread other([&] { select(0x22); });
    select(0x12);
    other.join();
  }
}
