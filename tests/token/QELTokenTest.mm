#include <algorithm>

#import "settings/QELSettings.h"
#import "tests/token/InitializerGivesNil.h"
#include "tests/token/PassingException.h"
#import "tests/token/SessionTest.h"
#import "token/NSExceptionSeam.h"

using TestCard::FakeCard;
using TestCard::FakeSlot;
using Numbers = std::vector<unsigned long>;

namespace {

Numbers NumbersOf(NSArray<NSNumber *> *array) {
  Numbers numbers;
  for (NSNumber *number in array) numbers.push_back([number unsignedLongValue]);
  return numbers;
}

}  // namespace

class QELTokenConstruction : public TokenTest {
 protected:
  /// A slot with a token of that serial number and nothing on it.
  static std::vector<FakeSlot> EmptySlot(const std::string &serialNumber = "00A1B2C3") {
    return {{7, kReader, serialNumber}};
  }

  static std::string InstanceIDForSerialNumber(const std::string &serialNumber) {
    FakeCard card(EmptySlot(serialNumber));
    @autoreleasepool {
      return [[MakeToken() instanceID] UTF8String] ?: "no token";
    }
  }

  /// Constructs a token while the library ends a call by `ending`, which `caught` must catch of the construction it
  /// gets.
  template <typename Caught>
  void ExpectToPass(TestCard::Fill ending, Caught caught) {
    const TestCard::ScriptedCard card({{"C_Initialize"}, {"C_GetSlotList", CKR_OK, std::move(ending)}});
    @autoreleasepool {
      QELToken *token = [QELToken alloc];
      QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
      NSError *error = nil;
      caught([&] { [token initWithSmartCard:SmartCard() AID:nil tokenDriver:driver error:&error]; });
      EXPECT_EQ(error, nil);
      [token release];
    }
    EXPECT_EQ(m_lines.Errors(), Texts{});
  }

  CapturedLog m_lines{kInfo};
};

TEST_F(QELTokenConstruction, LoadsTheSettings) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    MakeToken();
  }
  EXPECT_TRUE([[QELSettings getGlobalSettings] loadCalled]);
}

TEST_F(QELTokenConstruction, AReleasedTokenGivesUpItsSlotsAndSessions) {
  FakeCard card(EmptySlot());
  NSMutableArray<NSNumber *> *slots = nil, *sessions = nil;
  @autoreleasepool {
    QELToken *token = MakeToken();
    slots = [[token hSlots] retain];
    sessions = [[token hSessions] retain];
  }
  EXPECT_EQ([slots retainCount], 1u);
  EXPECT_EQ([sessions retainCount], 1u);
  [slots release];
  [sessions release];
}

TEST_F(QELTokenConstruction, CallsTheCardInExactlyThisOrder) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    ASSERT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(card.Calls(), (Texts{
                              "C_Initialize flags=0x30000",
                              "C_GetSlotList tokenPresent=0 output=?",
                              "C_GetSlotList tokenPresent=0 output=buffer",
                              "C_GetSlotInfo slot=7",
                              "C_CloseAllSessions slot=7",
                              "C_GetTokenInfo slot=7",
                              "C_OpenSession slot=7 flags=0x6",
                              "C_FindObjectsInit session=101 CKA_CLASS=0x1 CKA_CERTIFICATE_CATEGORY=0x1",
                              "C_FindObjects session=101 max=32",
                              "C_FindObjectsFinal session=101",
                              "C_CloseSession session=101",
                          }));
}

TEST_F(QELTokenConstruction, LogsItsStepsAtInfoLevelAndNothingToTheSystemLog) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    MakeToken();
  }
  EXPECT_EQ(m_lines.Lines(), (LogLines{
                                 {kInfo, "CTK slot name: Example Reader 0"},
                                 {kInfo, "slotName Example Reader 0"},
                                 {kInfo, "Loading content from QEL-00A1B2C3 [slot 7]"},
                                 {kInfo, "keychain contents filled from card from reader Example Reader 0"},
                             }));
  EXPECT_EQ(SystemLogOfTheToken(), Texts{});
}

TEST_F(QELTokenConstruction, OnlyTheLow32BitsOfASlotAreLogged) {
  FakeCard card({{0x100000007, kReader}});
  @autoreleasepool {
    EXPECT_EQ(NumbersOf([MakeToken() hSlots]), Numbers{0x100000007});
  }
  EXPECT_EQ(m_lines.Lines()[2].second, "Loading content from QEL-00A1B2C3 [slot 7]");
}

TEST_F(QELTokenConstruction, TheSerialNumberNamesTheTokenWithoutItsPadding) {
  EXPECT_EQ(InstanceIDForSerialNumber("00A1B2C3        "), "QEL-00A1B2C3");
  EXPECT_EQ(InstanceIDForSerialNumber("  \t00A1 B2C3\t "), "QEL-00A1 B2C3");
  EXPECT_EQ(InstanceIDForSerialNumber("                "), "QEL-");
  EXPECT_EQ(InstanceIDForSerialNumber(" aB  c\t\td/{}%@ "), "QEL-aB  c\t\td/{}%@") << "and nothing else is changed";
  EXPECT_EQ(InstanceIDForSerialNumber("\n00A1B2C3\n"), "QEL-\n00A1B2C3\n") << "only blanks and tabs are padding";
}

TEST_F(QELTokenConstruction, ASerialNumberThatFillsItsFieldIsUsedWhole) {
  EXPECT_EQ(InstanceIDForSerialNumber("0123456789ABCDEF"), "QEL-0123456789ABCDEF");
}

TEST_F(QELTokenConstruction, ASerialNumberKeepsAZeroByteAndEverythingAfterIt) {
  FakeCard card(EmptySlot(std::string("12\0\0a", 5)));
  @autoreleasepool {
    EXPECT_EQ([[MakeToken() instanceID] length], 9u) << "QEL- and the five";
  }
}

TEST_F(QELTokenConstruction, ASerialNumberThatIsNotAsciiStandsInHexadecimal) {
  EXPECT_EQ(InstanceIDForSerialNumber("00A1\xFC"), "QEL-30304131FC2020202020202020202020");
  EXPECT_EQ(InstanceIDForSerialNumber("\x80"), "QEL-80202020202020202020202020202020") << "the first byte beyond ASCII";
  EXPECT_EQ(InstanceIDForSerialNumber("\x01\x0A\t456789ABCDE\xAB\xFF"), "QEL-010A093435363738394142434445ABFF")
      << "the last byte";
  EXPECT_EQ(InstanceIDForSerialNumber("\x01~\x7F"), "QEL-\x01~\x7F") << "all ASCII";
}

TEST_F(QELTokenConstruction, OpensASessionOnEverySlotOfTheReaderInTheirOrder) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    QELToken *token = MakeToken();
    EXPECT_EQ(NumbersOf([token hSlots]), (Numbers{7, 8}));
    EXPECT_EQ(NumbersOf([token hSessions]), (Numbers{101, 102}));
    EXPECT_TRUE([[token hSlots] isKindOfClass:[NSMutableArray class]]);
    EXPECT_TRUE([[token hSessions] isKindOfClass:[NSMutableArray class]]);
  }
}

TEST_F(QELTokenConstruction, ClosesAllSessionsOfEverySlotBeforeItOpensTheFirst) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    MakeToken();
  }
  const Texts &calls = card.Calls();
  const auto first = std::find(calls.begin(), calls.end(), "C_CloseAllSessions slot=7");
  ASSERT_GE(calls.end() - first, 3);
  EXPECT_EQ(Texts(first, first + 3),
            (Texts{"C_CloseAllSessions slot=7", "C_CloseAllSessions slot=8", "C_GetTokenInfo slot=7"}));
}

TEST_F(QELTokenConstruction, OnlyTheFirstSlotIsAskedForItsSerialNumber) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    EXPECT_STREQ([[MakeToken() instanceID] UTF8String], "QEL-00A1B2C3");
  }
  EXPECT_EQ(card.Count("C_GetTokenInfo"), 1);
  EXPECT_EQ(m_lines.Infos()[4], "Loading content from QEL-00A1B2C3 [slot 8]");
}

TEST_F(QELTokenConstruction, ACardWithoutUserCertificatesGivesATokenWithAnEmptyKeychain) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    ASSERT_NE(token, nil);
    EXPECT_EQ([[[token keychainContents] items] count], 0u);
  }
}

TEST_F(QELTokenConstruction, ThePlatformGetsTheCardItsApplicationIdentifierAndTheDriver) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    NSData *AID = Data({0xA0, 0x00, 0x01});
    TKSmartCard *smartCard = SmartCard();
    QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
    QELTokenDriver *another = [[[QELTokenDriver alloc] init] autorelease];
    QELToken *token = (QELToken *)[driver tokenDriver:another createTokenForSmartCard:smartCard AID:AID error:nullptr];
    EXPECT_TRUE([[token AID] isEqualToData:AID]);
    EXPECT_EQ([token tokenDriver], driver) << "the driver that makes the token";
    EXPECT_EQ([MakeSession(token) smartCard], smartCard);
  }
}

TEST_F(QELTokenConstruction, AFailureToCloseAllSessionsIsLoggedAndConstructionGoesOn) {
  FakeCard card(EmptySlot());
  card.Fail("C_CloseAllSessions", CKR_DEVICE_ERROR);
  @autoreleasepool {
    EXPECT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(m_lines.Lines()[2], CapturedLog::Line(kInfo, "C_CloseAllSessions() => 0x00000030"));
  EXPECT_EQ(m_lines.Errors(), Texts{});
}

TEST_F(QELTokenConstruction, AFailureToEndASearchIsLoggedAndConstructionGoesOn) {
  FakeCard card(OneSlot());
  card.Fail("C_FindObjectsFinal", CKR_DEVICE_ERROR);
  @autoreleasepool {
    EXPECT_EQ([[[MakeToken() keychainContents] items] count], 4u);
  }
  EXPECT_EQ(m_lines.Errors(), Texts{"C_FindObjectsFinal() => 0x00000030"});
}

TEST_F(QELTokenConstruction, UnreadableTokenInformationGivesNilAndLeavesTheErrorUntouched) {
  FakeCard card(EmptySlot());
  card.Fail("C_GetTokenInfo", CKR_TOKEN_NOT_RECOGNIZED);
  @autoreleasepool {
    NSError *const before = [NSError errorWithDomain:@"before" code:1 userInfo:nil];
    NSError *error = before;
    EXPECT_EQ(MakeToken(&error), nil);
    EXPECT_EQ(error, before);
  }
  EXPECT_EQ(m_lines.Lines(), (LogLines{
                                 {kInfo, "CTK slot name: Example Reader 0"},
                                 {kInfo, "slotName Example Reader 0"},
                                 {kInfo, "C_GetTokenInfo() => 0x000000E1"},
                                 {kInfo, "Error while getting TokenInfo, probably unsupported smart card type."},
                             }));
  EXPECT_EQ(card.Names().back(), "C_GetTokenInfo");
}

TEST_F(QELTokenConstruction, ASlotIsNamedInTheLogBeforeItsSessionIsOpened) {
  FakeCard card(EmptySlot());
  card.Fail("C_OpenSession", CKR_SESSION_COUNT);
  @autoreleasepool {
    EXPECT_EQ(MakeToken(), nil);
  }
  EXPECT_EQ(m_lines.Lines(), (LogLines{
                                 {kInfo, "CTK slot name: Example Reader 0"},
                                 {kInfo, "slotName Example Reader 0"},
                                 {kInfo, "Loading content from QEL-00A1B2C3 [slot 7]"},
                                 {kError, "C_OpenSession() => 0x000000B1"},
                             }));
}

TEST_F(QELTokenConstruction, SlotsAndSessionsOfAnySizeAreKeptWhole) {
  constexpr unsigned long kSlot = 0xFFFFFFFF00000001, kSession = 0xFFFFFFFF00000002;
  const TestCard::ScriptedCard card({{"C_Initialize"},
                                     {"C_GetSlotList", CKR_OK, TestCard::SlotCount(1)},
                                     {"C_GetSlotList", CKR_OK, TestCard::Slots({kSlot})},
                                     {"C_GetSlotInfo", CKR_OK, TestCard::Description(kReader)},
                                     {"C_CloseAllSessions"},
                                     {"C_GetTokenInfo"},
                                     {"C_OpenSession", CKR_OK, TestCard::Handle(kSession)},
                                     {"C_FindObjectsInit"},
                                     {"C_FindObjects"},
                                     {"C_FindObjectsFinal"},
                                     {"C_GetTokenInfo"},
                                     {"C_CloseSession"}});
  @autoreleasepool {
    QELToken *token = MakeToken();
    EXPECT_EQ(NumbersOf([token hSlots]), Numbers{kSlot});
    EXPECT_EQ(NumbersOf([token hSessions]), Numbers{kSession});
    EXPECT_STREQ([[[token hSessions] lastObject] objCType], @encode(unsigned long));
    SlotSessionPair *pair = [MakeSession(token) hCurrentPair];
    EXPECT_EQ([pair hSlot], kSlot);
    EXPECT_EQ([pair hSession], kSession);
  }
  EXPECT_EQ(card.Calls().back(), "C_CloseSession session=" + std::to_string(kSession));
}

TEST_F(QELTokenConstruction, APlatformThatRefusesTheTokenGivesNilWithoutAnErrorAndClosesTheSession) {
  const InitializerGivesNil refusal([TKToken class], @selector(initWithTokenDriver:instanceID:));
  FakeCard card(EmptySlot());
  @autoreleasepool {
    NSError *error = nil;
    EXPECT_EQ(MakeToken(&error), nil);
    EXPECT_EQ(error, nil);
  }
  EXPECT_EQ(card.Names().back(), "C_CloseSession");
  EXPECT_EQ(m_lines.Infos().back(), "Loading content from QEL-00A1B2C3 [slot 7]");
}

TEST_F(QELTokenConstruction, ACppExceptionThatIsNotOursPassesThrough) {
  ExpectToPass(ThrowFromCard, [](auto construction) { EXPECT_EQ(PassingException(construction), "from the card"); });
}

TEST_F(QELTokenConstruction, AnNSExceptionPassesThrough) {
  ExpectToPass(RaiseFromCard,
               [](auto construction) { EXPECT_STREQ([[CatchNSException(construction) name] UTF8String], "Foreign"); });
}

class QELTokenTeardown : public QELTokenConstruction {};

TEST_F(QELTokenTeardown, ClosesEachSessionOnceInOrderAndLeavesTheLibraryInitialized) {
  FakeCard card(TwoSlots());
  @autoreleasepool {
    MakeToken();
    card.ClearCalls();
  }
  EXPECT_EQ(card.Calls(), (Texts{"C_CloseSession session=101", "C_CloseSession session=102"}));
}

TEST_F(QELTokenTeardown, AFailureToCloseASessionIsLoggedAndTheNextIsClosed) {
  FakeCard card(TwoSlots());
  card.IgnoreLeftovers();
  @autoreleasepool {
    MakeToken();
    card.ClearCalls();
    card.Fail("C_CloseSession", CKR_DEVICE_REMOVED);
  }
  EXPECT_EQ(card.Calls(), (Texts{"C_CloseSession session=101", "C_CloseSession session=102"}));
  EXPECT_EQ(m_lines.Errors(), Texts{"C_CloseSession() => 0x00000032"});
}

TEST_F(QELTokenTeardown, ANewTokenTakesTheSessionsOfAnOlderOneOnTheSameReader) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    MakeToken();
    EXPECT_EQ(NumbersOf([MakeToken() hSessions]), Numbers{102});
    EXPECT_EQ(card.OpenSessions(), 1);
  }
  EXPECT_EQ(m_lines.Errors(), Texts{"C_CloseSession() => 0x000000B3"});
}

TEST_F(QELTokenTeardown, ALateReleaseDoesNoHarmWhereTheLibraryCountsUpwards) {
  FakeCard card(EmptySlot());
  @autoreleasepool {
    QELToken *successor = nil;
    @autoreleasepool {
      MakeToken();
      successor = [MakeToken() retain];
    }
    [successor autorelease];
    EXPECT_TRUE([[MakeSession(successor) hCurrentPair] hSession] == 102);
    EXPECT_EQ(card.OpenSessions(), 1) << "the successor's";
  }
}

TEST_F(QELTokenTeardown, ALateReleaseTakesTheSuccessorsSessionWhereTheLibraryReusesNumbers) {
  FakeCard card(EmptySlot());
  card.reusesNumbers = true;
  @autoreleasepool {
    QELToken *older = nil;
    @autoreleasepool {
      older = [MakeToken() retain];
    }
    QELToken *successor = MakeToken();
    QELTokenSession *session = MakeSession(successor);
    EXPECT_EQ(NumbersOf([successor hSessions]), NumbersOf([older hSessions]));
    EXPECT_EQ(card.OpenSessions(), 1);
    [older release];
    EXPECT_EQ(card.OpenSessions(), 0);

    NSError *error = nil;
    EXPECT_EQ([session tokenSession:session
                           signData:Data({1})
                           usingKey:Data({0x12, 1})
                          algorithm:Algorithm({kSecKeyAlgorithmECDSASignatureDigestX962})
                              error:&error],
              nil);
    EXPECT_TRUE(IsError(error, @"QELToken", -8));
    // The way out: the next token has a session again.
    EXPECT_EQ([[MakeToken() hSessions] count], 1u);
  }
  EXPECT_EQ(card.OpenSessions(), 0);
}

TEST_F(QELTokenTeardown, ATokenThatWasNeverBuiltHasNothingToClose) {
  FakeCard card(EmptySlot());
  [[QELToken alloc] release];
  EXPECT_EQ(card.Calls(), Texts{});
}

TEST_F(QELTokenConstruction, ASecondTokenLoadsNoLibraryAgain) {
  FakeCard card(OneSlot());
  const size_t before = LoadedPaths().size();
  @autoreleasepool {
    EXPECT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(LoadedPaths().size(), before + 2) << "the PKCS#11 library and the PIN dialog library";
  @autoreleasepool {
    EXPECT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(LoadedPaths().size(), before + 2);
}
