// What a real platform may do and ours does not: the extension does not rely on the answer.

#import <objc/runtime.h>

#import "tests/token/SessionTest.h"

/// Our classes, which say when a delegate is set from outside their bases.
static Texts s_told;

@interface ToldDriver : QELTokenDriver
@end
@implementation ToldDriver
- (void)setDelegate:(id<TKTokenDriverDelegate>)delegate {
  s_told.push_back("driver");
  [super setDelegate:delegate];
}
@end

@interface ToldToken : QELToken
@end
@implementation ToldToken
- (void)setDelegate:(id<TKTokenDelegate>)delegate {
  s_told.push_back("token");
  [super setDelegate:delegate];
}
@end

@interface ToldSession : QELTokenSession
@end
@implementation ToldSession
- (void)setDelegate:(id<TKTokenSessionDelegate>)delegate {
  s_told.push_back("session");
  [super setDelegate:delegate];
}
@end

namespace {

class CardOutOfReach {
 public:
  CardOutOfReach() { [TKSmartCardTokenSession setCardIsOutOfReach:YES]; }
  ~CardOutOfReach() { [TKSmartCardTokenSession setCardIsOutOfReach:NO]; }
};

class NoDelegatesInstalled {
 public:
  NoDelegatesInstalled() { [TKToken setDelegatesAreInstalled:NO]; }
  ~NoDelegatesInstalled() { [TKToken setDelegatesAreInstalled:YES]; }
};

/// Decodes ASCII byte for byte, without a nil for bytes that it does not have.
class LenientAscii {
 public:
  LenientAscii()
      : m_method(class_getInstanceMethod(object_getClass([NSString alloc]), @selector(initWithBytes:
                                                                                             length:encoding:))) {
    s_original = reinterpret_cast<Decode>(method_setImplementation(m_method, reinterpret_cast<IMP>(&DecodeLeniently)));
  }
  ~LenientAscii() { method_setImplementation(m_method, reinterpret_cast<IMP>(s_original)); }

 private:
  using Decode = id (*)(id, SEL, const void *, NSUInteger, NSStringEncoding);

  static id DecodeLeniently(id self, SEL selector, const void *bytes, NSUInteger length, NSStringEncoding encoding) {
    return s_original(self, selector, bytes, length,
                      encoding == NSASCIIStringEncoding ? NSISOLatin1StringEncoding : encoding);
  }

  static inline Decode s_original;
  Method m_method;
};

}  // namespace

class StricterPlatform : public SessionTest {};
class StricterPlatformOnPinPad : public PinPadTest {};

TEST_F(StricterPlatform, ALoginThatFinishesWhereTheCardIsOutOfReachMarksIt) {
  m_card.LogOut();
  QELAuthOperation *login = Begun<QELAuthOperation>(m_session);
  [login setPIN:@"1234"];
  NSError *error = nil;
  {
    const CardOutOfReach outOfReach;
    EXPECT_TRUE([login finishWithError:&error]);
  }
  EXPECT_EQ(error, nil);
  EXPECT_TRUE([[m_session smartCard] sensitive]);
  EXPECT_TRUE([[[m_session smartCard] context] boolValue]);
}

TEST_F(StricterPlatformOnPinPad, ALoginThatFinishesWhereTheCardIsOutOfReachMarksIt) {
  m_card.LogOut();
  QELPINPadAuthOperation *login = Begun<QELPINPadAuthOperation>(m_session);
  {
    const CardOutOfReach outOfReach;
    EXPECT_TRUE([login finishWithError:nullptr]);
  }
  EXPECT_TRUE([[m_session smartCard] sensitive]);
}

TEST_F(StricterPlatform, ALaterLoginIsOfTheCardThatIsThereThen) {
  [m_session setLoginCard:[[[TKSmartCard alloc] init] autorelease]];  // as an earlier login left it
  Begun<QELAuthOperation>(m_session);
  EXPECT_EQ([m_session loginCard], [m_session smartCard]);
}

TEST_F(StricterPlatformOnPinPad, ALaterLoginIsOfTheCardThatIsThereThen) {
  [m_session setLoginCard:[[[TKSmartCard alloc] init] autorelease]];
  Begun<QELPINPadAuthOperation>(m_session);
  EXPECT_EQ([m_session loginCard], [m_session smartCard]);
}

TEST_F(StricterPlatform, NoOperationReadsTheCard) {
  const CardOutOfReach outOfReach;
  EXPECT_NE(Sign(Block(), RawRsa()), nil);
  EXPECT_NE(Decrypt(Ciphertext()), nil);
  EXPECT_NE(Agree(PeerKey(), Parameters(32)), nil);
  EXPECT_TRUE(Supports(TKTokenOperationSignData, RsaKey(), RawRsa()));
  EXPECT_NE(MakeSession(m_token), nil);
}

TEST_F(StricterPlatform, DriverTokenAndSessionAreTheirOwnDelegatesAlsoWhereTheirBasesDoNotMakeThemSo) {
  const NoDelegatesInstalled noDelegates;
  QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
  EXPECT_EQ((id)[driver delegate], (id)driver);
  QELToken *token = MakeToken();
  EXPECT_EQ((id)[token delegate], (id)token);
  QELTokenSession *session = MakeSession(token);
  EXPECT_EQ((id)[session delegate], (id)session);
}

TEST_F(StricterPlatform, ADelegateThatTheirBasesSetIsLeftAlone) {
  const auto made = [] {
    s_told.clear();
    ToldDriver *driver = [[[ToldDriver alloc] init] autorelease];
    ToldToken *token = [[[ToldToken alloc] initWithSmartCard:SmartCard() AID:nil tokenDriver:driver
                                                       error:nullptr] autorelease];
    EXPECT_NE([ToldSession sessionWithToken:token], nil);
    return s_told;
  };
  EXPECT_EQ(made(), Texts{});
  const NoDelegatesInstalled noDelegates;
  EXPECT_EQ(made(), (Texts{"driver", "token", "session"}));
}

TEST_F(StricterPlatform, ASerialNumberThatIsNotAsciiStandsInHexadecimalHoweverAsciiIsDecoded) {
  const LenientAscii lenient;
  const auto instanceID = [&](const char *serialNumber) {
    m_card.Slots().front().serialNumber = serialNumber;
    return std::string([[MakeToken() instanceID] UTF8String]);
  };
  EXPECT_EQ(instanceID("00A1\xFC"), "QEL-30304131FC2020202020202020202020");
  EXPECT_EQ(instanceID("\x80"), "QEL-80202020202020202020202020202020");
  EXPECT_EQ(instanceID("0123456789ABCDE\xFF"), "QEL-303132333435363738394142434445FF");
}
