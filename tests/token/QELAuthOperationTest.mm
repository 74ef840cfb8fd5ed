#include "tests/support/SystemLogLines.h"
#include "tests/token/PassingException.h"
#import "tests/token/SessionTest.h"
#import "token/PerformLogin.h"

using TestCard::Call;
using TestCard::Row;
using TestCard::ScriptedCard;

/// A card whose connection cannot be marked: raises where a login marks it.
@interface RaisingSmartCard : TKSmartCard
@end

@implementation RaisingSmartCard
- (void)setSensitive:(BOOL)sensitive {
  (void)sensitive;
  [NSException raise:@"CardGone" format:@"the card is gone"];
}
@end

/// An exception that does not say why.
@interface MuteException : NSException
@end

@implementation MuteException
- (NSString *)reason {
  return nil;
}
@end

/// An operation that tells what it is given.
@interface ToldOperation : QELAuthOperation
@end

static Texts s_told;

@implementation ToldOperation
- (void)setSmartCard:(TKSmartCard *)smartCard {
  s_told.push_back(smartCard != nil ? "smart card" : "no smart card");
  [super setSmartCard:smartCard];
}
- (void)setAPDUTemplate:(NSData *)APDUTemplate {
  s_told.push_back(APDUTemplate != nil ? "APDU template" : "no APDU template");
  [super setAPDUTemplate:APDUTemplate];
}
@end

namespace {

void RaiseWithoutReason(Call &) {
  [[MuteException exceptionWithName:@"Mute" reason:nil userInfo:nil] raise];
}

}  // namespace

/// A session whose user has not logged in, and the operation that a client gets for it.
class KeyboardLogin : public SessionTest {
 protected:
  KeyboardLogin() {
    m_card.LogOut();
    m_operation = Begun<QELAuthOperation>(m_session);
  }

  bool LoginWith(NSString *PIN, NSError **error = nullptr) {
    [m_operation setPIN:PIN];
    return [m_operation finishWithError:error] != NO;
  }

  QELAuthOperation *m_operation;
};

#pragma mark - The operation

TEST_F(KeyboardLogin, OperationIsForThePlatformToAskThePinWithoutAnApdu) {
  EXPECT_EQ([m_operation session], m_session);
  EXPECT_EQ([m_operation smartCard], [m_session smartCard]);
  EXPECT_NE([m_operation smartCard], nil);
  EXPECT_EQ([m_operation APDUTemplate], nil);
  EXPECT_EQ(m_log.Infos(), Texts{"Non pin pad reader ready to auth"});
}

TEST_F(KeyboardLogin, OperationIsGivenTheCardAndNoApduTemplateOnPurpose) {
  s_told.clear();
  [[[ToldOperation alloc] initWithSession:m_session] release];
  EXPECT_EQ(s_told, (Texts{"smart card", "no APDU template"}));
}

TEST_F(KeyboardLogin, NeitherOperationNorConstraintNorTheNamedSessionIsLookedAt) {
  ExpectOperationWhateverIsAsked<QELAuthOperation>();
}

TEST_F(KeyboardLogin, EveryTimeAnOperationOfItsOwnBegins) {
  QELAuthOperation *another = Begun<QELAuthOperation>(m_session);
  EXPECT_NE(another, m_operation);
  [m_operation setPIN:@"1234"];
  EXPECT_EQ([another PIN], nil);
}

TEST_F(KeyboardLogin, OperationKeepsItsSessionAlive) {
  ExpectOperationToKeepItsSession<QELAuthOperation>();
}

#pragma mark - The login

TEST_F(KeyboardLogin, ARightPinIsSentTwiceAndTheSecondTimeTheUserIsLoggedInAlready) {
  EXPECT_TRUE(LoginWith(@"1234"));
  EXPECT_EQ(m_card.Calls(), (Texts{"C_Login session=101 user=1 pin=given", "C_Login session=101 user=1 pin=given"}));
  EXPECT_EQ(m_card.pins, (std::vector<Bytes>{TestCard::Text("1234"), TestCard::Text("1234")}));
  EXPECT_EQ(m_log.Infos(), (Texts{"Non pin pad reader ready to auth", "C_Login rv = 0", "C_Login rv = 256"}));
  EXPECT_EQ(m_dialog.Calls(), Texts{});
}

TEST_F(KeyboardLogin, ALoginMarksTheCardsConnection) {
  EXPECT_FALSE([[m_session smartCard] sensitive]);
  EXPECT_TRUE(LoginWith(@"1234"));
  EXPECT_TRUE([[m_session smartCard] sensitive]);
  EXPECT_EQ([[m_session smartCard] context], [NSNumber numberWithBool:YES]);
}

TEST_F(KeyboardLogin, AWrongPinIsSentTwiceAndReportedAsABadParameter) {
  NSError *error = nil;
  EXPECT_FALSE(LoginWith(@"0000", &error));
  EXPECT_TRUE(IsErrorOf(TKErrorCodeBadParameter, error));
  EXPECT_EQ(m_card.Count("C_Login"), 2);
  EXPECT_FALSE([[m_session smartCard] sensitive]);
  EXPECT_EQ([[m_session smartCard] context], nil);
}

TEST_F(KeyboardLogin, ASecondLoginSucceedsWhateverPinIsGiven) {
  EXPECT_TRUE(LoginWith(@"1234"));
  NSError *error = UntouchedError();
  EXPECT_TRUE(LoginWith(@"wrong", &error));
  EXPECT_EQ(error, UntouchedError());
}

TEST_F(KeyboardLogin, ALockedPinGivesNoErrorObject) {
  m_card.Fail("C_Login", CKR_PIN_LOCKED, 0);
  NSError *error = UntouchedError();
  EXPECT_FALSE(LoginWith(@"1234", &error));
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Infos().back(), "C_Login rv = 164");
}

TEST_F(KeyboardLogin, TheSecondCallDecides) {
  ScriptedCard rightThenWrong({{"C_Login"}, {"C_Login", CKR_PIN_INCORRECT}});
  NSError *error = nil;
  EXPECT_FALSE(LoginWith(@"1234", &error));
  EXPECT_TRUE(IsErrorOf(TKErrorCodeBadParameter, error));
}

TEST_F(KeyboardLogin, PinIsSentInItsUtf8Bytes) {
  LoginWith([NSString stringWithUTF8String:"p\xC3\xA4ss-\xE2\x82\xAC"]);
  EXPECT_EQ(m_card.pins.front(), TestCard::Text("p\xC3\xA4ss-\xE2\x82\xAC"));
}

TEST_F(KeyboardLogin, AnEmptyPinIsSentWithAPointerAndNoLength) {
  LoginWith(@"");
  EXPECT_EQ(m_card.pins.front(), Bytes{});
  EXPECT_FALSE(m_card.pinWasNull.front());
}

TEST_F(KeyboardLogin, APinWithoutAUtf8FormIsSentAsAnEmptyOneAndNotAsTheOneThatTheReaderAsksFor) {
  LoginWith([[NSString stringWithUTF8String:"1\xF0\x9F\x98\x80"] substringToIndex:2]);
  EXPECT_EQ(m_card.pins.front(), Bytes{});
  EXPECT_FALSE(m_card.pinWasNull.front());
}

TEST_F(KeyboardLogin, APinThatWasNotSetIsSentAsNone) {
  LoginWith(nil);
  EXPECT_TRUE(m_card.pinWasNull.front());
}

TEST_F(KeyboardLogin, ALongPinIsSentWhole) {
  LoginWith([@"" stringByPaddingToLength:5000 withString:@"0123456789" startingAtIndex:0]);
  EXPECT_EQ(m_card.pins.front().size(), 5000u);
}

TEST_F(KeyboardLogin, TheFirstCallIsReportedInTheSystemLog) {
  NSError *error = nil;
  LoginWith(@"0000", &error);
  EXPECT_EQ(SystemLogLines(m_systemLog),
            Texts{std::string("NSLog: [CTK] finishWithError success: 0, error: ") + [[error description] UTF8String]});
}

TEST_F(KeyboardLogin, AnAbsentErrorIsReportedAsNone) {
  NSError *error = nil;
  LoginWith(@"1234", &error);
  LoginWith(@"1234", nullptr);
  EXPECT_EQ(SystemLogLines(m_systemLog), (Texts{"NSLog: [CTK] finishWithError success: 1, error: (null)",
                                                "NSLog: [CTK] finishWithError success: 1, error: (null)"}));
}

TEST_F(KeyboardLogin, AnErrorThatTheCallerHadBeforeIsReportedAsItStands) {
  m_card.Fail("C_Login", CKR_PIN_LOCKED, 0);
  NSError *error = UntouchedError();
  LoginWith(@"1234", &error);
  EXPECT_EQ(SystemLogLines(m_systemLog),
            Texts{std::string("NSLog: [CTK] finishWithError success: 0, error: ") + [[error description] UTF8String]});
}

TEST_F(KeyboardLogin, AnErrorThatTheCallerHadBeforeStandsInTheReportOfASuccessToo) {
  NSError *error = UntouchedError();
  LoginWith(@"1234", &error);
  EXPECT_EQ(SystemLogLines(m_systemLog),
            Texts{std::string("NSLog: [CTK] finishWithError success: 1, error: ") + [[error description] UTF8String]});
}

TEST_F(KeyboardLogin, TheFirstCallIsReportedBeforeTheSecondIsMade) {
  std::vector<size_t> reports;
  const auto count = [&](Call &) { reports.push_back(m_systemLog.Texts().size()); };
  const ScriptedCard script({{"C_Login", CKR_PIN_INCORRECT, count}, {"C_Login", CKR_OK, count}});
  EXPECT_TRUE(LoginWith(@"1234"));
  EXPECT_EQ(reports, (std::vector<size_t>{0, 1}));
  EXPECT_EQ(m_systemLog.Texts(), Texts{"[CTK] finishWithError success: 0, error: (null)"});
}

TEST_F(KeyboardLogin, NoLogHoldsThePin) {
  LoginWith(@"834291");
  LoginWith(@"834291");
  m_card.LogOut();
  LoginWith(@"834291");
  for (const std::string &text : m_systemLog.Texts()) EXPECT_EQ(text.find("834291"), std::string::npos) << text;
  for (const auto &[level, text] : m_log.Lines()) EXPECT_EQ(text.find("834291"), std::string::npos) << text;
}

TEST_F(KeyboardLogin, EveryFailureIsMappedWithAnOutPointerAndWithout) {
  for (const CardResult &result : kCardResults) {
    for (const bool withPointer : {true, false}) {
      ScriptedCard script({{"C_Login", result.rv}, {"C_Login", result.rv}});
      NSError *error = UntouchedError();
      EXPECT_FALSE(LoginWith(@"1234", withPointer ? &error : nullptr));
      EXPECT_TRUE(IsErrorOf(withPointer ? result.code : 0, error));
    }
  }
  EXPECT_EQ(m_log.Errors(), Texts{});
}

#pragma mark - Exceptions

TEST_F(KeyboardLogin, AnExceptionInEitherCallIsLoggedAndReported) {
  for (const std::vector<Row> &rows :
       {std::vector<Row>{{"C_Login", CKR_OK, RaiseFromCard}}, {{"C_Login"}, {"C_Login", CKR_OK, RaiseFromCard}}}) {
    const SystemLog::Captured systemLog;
    ScriptedCard script(rows);
    NSError *error = nil;
    EXPECT_FALSE(LoginWith(@"1234", &error));
    EXPECT_TRUE(IsError(error, @"QELException", -1));
    EXPECT_STREQ([[error localizedDescription] UTF8String], "from the card");
    EXPECT_EQ(systemLog.Texts().back().rfind("[CTK] Exception in finishWithError: ", 0), 0u);
    EXPECT_NE(systemLog.Texts().back().find("from the card"), std::string::npos);
  }
}

TEST_F(KeyboardLogin, AnExceptionIsLoggedAsItDescribesItself) {
  NSException *raised = [NSException exceptionWithName:@"Foreign" reason:@"from the card" userInfo:nil];
  const ScriptedCard script({{"C_Login", CKR_OK, [&](Call &) { [raised raise]; }}});
  EXPECT_FALSE(LoginWith(@"1234"));
  EXPECT_EQ(m_systemLog.Texts(),
            Texts{std::string("[CTK] Exception in finishWithError: ") + [[raised description] UTF8String]});
}

TEST_F(KeyboardLogin, AnExceptionWithoutOutPointerIsLoggedAllTheSame) {
  ScriptedCard script({{"C_Login", CKR_OK, RaiseFromCard}});
  EXPECT_FALSE(LoginWith(@"1234"));
  EXPECT_EQ(m_systemLog.Texts().size(), 1u);
}

TEST_F(KeyboardLogin, AnExceptionWithoutReasonIsAnErrorWithoutDescription) {
  ScriptedCard script({{"C_Login", CKR_OK, RaiseWithoutReason}});
  NSError *error = nil;
  EXPECT_FALSE(LoginWith(@"1234", &error));
  EXPECT_TRUE(IsError(error, @"QELException", -1));
  EXPECT_EQ([[error userInfo] count], 0u);
}

TEST_F(KeyboardLogin, AnExceptionOfThePlatformsCardIsReported) {
  TKSmartCard *smartCard =
      [[[RaisingSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:@"Example Reader 0"]] autorelease];
  QELAuthOperation *operation = Begun<QELAuthOperation>(MakeSession(MakeToken(nullptr, smartCard)));
  [operation setPIN:@"1234"];
  NSError *error = nil;
  EXPECT_FALSE([operation finishWithError:&error]);
  EXPECT_TRUE(IsError(error, @"QELException", -1));
  EXPECT_STREQ([[error localizedDescription] UTF8String], "the card is gone");
}

TEST_F(KeyboardLogin, CppExceptionsPass) {
  ScriptedCard script({{"C_Login", CKR_OK, ThrowFromCard}});
  EXPECT_EQ(PassingException([&] { LoginWith(@"1234"); }), "from the card");
}

#pragma mark - The pair that is logged in

class LoginOnTwoSlots : public TwoSlotTest {};

TEST_F(LoginOnTwoSlots, IsMadeOnThePairOfTheLastOperation) {
  m_card.LogOut();
  EXPECT_EQ(Sign(Block(), RawRsa(), nullptr, LaterRsaKey()), nil);
  m_card.ClearCalls();
  EXPECT_TRUE(performLogin(m_session, @"1234", nullptr));
  EXPECT_EQ(m_card.Calls(), Texts{"C_Login session=102 user=1 pin=given"});
  EXPECT_NE(Sign(Block(), RawRsa(), nullptr, LaterRsaKey()), nil);
}
