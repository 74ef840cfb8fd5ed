#import "tests/token/SessionTest.h"

#include <algorithm>
#include <stdexcept>

#include "tests/token/PassingException.h"
#import "token/NSExceptionSeam.h"

using TestCard::FakeSlot;
using TestCard::Row;

SessionTest::SessionTest(std::vector<FakeSlot> slots)
    : m_card(std::move(slots)), m_token(MakeToken()), m_session(MakeSession(m_token)) {
  m_card.LogIn();
  m_card.ClearCalls();
}

std::vector<FakeSlot> SessionTest::PinPadSlot(CK_ULONG slotType) {
  std::vector<FakeSlot> slots = OneSlot();
  slots.front().tokenFlags = CKF_PROTECTED_AUTHENTICATION_PATH;
  slots.front().slotType = slotType;
  return slots;
}

std::vector<FakeSlot> SessionTest::TwoPinPadSlots() {
  std::vector<FakeSlot> slots = TwoSlots();
  for (FakeSlot &slot : slots) slot.tokenFlags = CKF_PROTECTED_AUTHENTICATION_PATH;
  slots.front().slotType = 0x80000002;
  slots.back().slotType = 0x80000003;
  return slots;
}

NSData *SessionTest::Sign(NSData *data, TKTokenKeyAlgorithm *algorithm, NSError **error, NSData *key) {
  return [m_session tokenSession:m_nobody signData:data usingKey:key algorithm:algorithm error:error];
}

NSData *SessionTest::Decrypt(NSData *ciphertext, NSError **error, NSData *key) {
  return [m_session tokenSession:m_nobody
                     decryptData:ciphertext
                        usingKey:key
                       algorithm:Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})
                           error:error];
}

NSData *SessionTest::Agree(NSData *publicKey, TKTokenKeyExchangeParameters *parameters, NSError **error, NSData *key,
                           TKTokenKeyAlgorithm *algorithm) {
  return [m_session tokenSession:m_nobody
      performKeyExchangeWithPublicKey:publicKey
                             usingKey:key
                            algorithm:algorithm
                           parameters:parameters
                                error:error];
}

bool SessionTest::Supports(TKTokenOperation operation, NSData *key, TKTokenKeyAlgorithm *algorithm) {
  return [m_session tokenSession:m_nobody supportsOperation:operation usingKey:key algorithm:algorithm];
}

TKTokenKeyAlgorithm *SessionTest::RawRsa() {
  return Algorithm({kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, kSecKeyAlgorithmRSASignatureRaw});
}

TKTokenKeyAlgorithm *SessionTest::Ecdsa() {
  return Algorithm({kSecKeyAlgorithmECDSASignatureDigestX962});
}

TKTokenKeyAlgorithm *SessionTest::X963Sha1() {
  return Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1});
}

TKTokenKeyExchangeParameters *SessionTest::Parameters(NSInteger requestedSize, NSData *sharedInfo) {
  return [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:requestedSize sharedInfo:sharedInfo] autorelease];
}

NSData *SessionTest::PeerKey() {
  Bytes point(65, 0x58);
  point[0] = 0x04;
  std::fill(point.begin() + 33, point.end(), 0x59);
  return Data(point);
}

SessionTest::Trace SessionTest::AfterFindingTheKey(const std::string &session, Trace rest) {
  Trace trace = {"C_GetSessionInfo session=" + session,
                 "C_FindObjectsInit session=" + session + " CKA_CLASS=0x3 CKA_ID=<id>",
                 "C_FindObjects session=" + session + " max=32", "C_FindObjects session=" + session + " max=32",
                 "C_FindObjectsFinal session=" + session};
  trace.insert(trace.end(), rest.begin(), rest.end());
  return trace;
}

std::vector<Row> SessionTest::AfterFindingTheKey(std::vector<Row> rest) {
  std::vector<Row> rows = TestCard::Search({3});
  rows.insert(rows.begin(), {"C_GetSessionInfo", CKR_OK, TestCard::State(CKS_RW_USER_FUNCTIONS)});
  rows.insert(rows.end(), rest.begin(), rest.end());
  return rows;
}

void SessionTest::ExpectEachFailureMapped(const std::vector<Row> &calls,
                                          const std::function<NSData *(NSError **)> &operation) {
  for (size_t failing = 0; failing < calls.size(); ++failing) {
    for (const CardResult &result : kCardResults) {
      std::vector<Row> rows(calls.begin(), calls.begin() + static_cast<long>(failing) + 1);
      rows.back() = {rows.back().call, result.rv};
      const std::string line = std::string(rows.back().call) + "() => 0x" + result.digits;
      for (const bool withPointer : {true, false}) {
        SCOPED_TRACE("call " + std::to_string(failing + 1) + ": " + line);
        const CapturedLog log;
        const TestCard::ScriptedCard script(AfterFindingTheKey(rows));
        NSError *error = UntouchedError();
        EXPECT_EQ(operation(withPointer ? &error : nullptr), nil);
        EXPECT_TRUE(IsErrorOf(withPointer ? result.code : 0, error));
        EXPECT_EQ(log.Errors(), std::vector<std::string>{line});
      }
    }
  }
}

void SessionTest::ExpectAuthenticationNeeded(const std::function<NSData *(NSError **)> &operation) {
  for (const CK_STATE state : {CKS_RO_PUBLIC_SESSION, CKS_RW_PUBLIC_SESSION, CKS_RW_SO_FUNCTIONS}) {
    const CapturedLog log;
    const TestCard::ScriptedCard script(
        {{"C_GetSessionInfo", CKR_OK, TestCard::State(state)}, {"C_GetSessionInfo", CKR_OK, TestCard::State(state)}});
    NSError *error = nil;
    EXPECT_EQ(operation(&error), nil);
    EXPECT_TRUE(IsError(error, TKErrorDomain, TKErrorCodeAuthenticationNeeded));
    EXPECT_EQ([[error userInfo] count], 0u);
    EXPECT_EQ(operation(nullptr), nil);
    EXPECT_EQ(log.Lines().size(), 0u);
  }
}

void SessionTest::ExpectFailuresBeforeTheKeyIsFound(const std::function<NSData *(NSError **)> &operation) {
  const Row loggedIn = {"C_GetSessionInfo", CKR_OK, TestCard::State(CKS_RW_USER_FUNCTIONS)};
  struct {
    int code;
    const char *message;
    std::vector<std::string> logged;
    std::vector<Row> rows;
  } const failures[] = {
      {-8,
       "Session is invalid",
       {"C_GetSessionInfo() => 0x000000B3"},
       {{"C_GetSessionInfo", CKR_SESSION_HANDLE_INVALID}}},
      {-7, "Private key not found", {}, {loggedIn, {"C_FindObjectsInit"}, {"C_FindObjects"}, {"C_FindObjectsFinal"}}},
      {-6,
       "Initialization of object search failed",
       {"C_FindObjectsInit() => 0x00000090"},
       {loggedIn, {"C_FindObjectsInit", CKR_OPERATION_ACTIVE}}},
      {-6,
       "Error while searching for objects on the card",
       {"C_FindObjects() => 0x00000032"},
       {loggedIn, {"C_FindObjectsInit"}, {"C_FindObjects", CKR_DEVICE_REMOVED}, {"C_FindObjectsFinal"}}},
  };
  for (const auto &failure : failures) {
    for (const bool withPointer : {true, false}) {
      SCOPED_TRACE(failure.message);
      const CapturedLog log;
      const TestCard::ScriptedCard script(failure.rows);
      NSError *error = nil;
      EXPECT_EQ(operation(withPointer ? &error : nullptr), nil);
      EXPECT_EQ(log.Errors(), failure.logged);
      if (!withPointer) continue;
      EXPECT_TRUE(IsError(error, @"QELToken", failure.code));
      EXPECT_STREQ([[error localizedDescription] UTF8String], failure.message);
    }
  }
}

void SessionTest::ExpectForeignExceptionsToPass(std::vector<Row> calls,
                                                const std::function<void(NSError **)> &operation) {
  NSError *error = UntouchedError();
  calls.back().fill = RaiseFromCard;
  {
    const TestCard::ScriptedCard script(calls);
    EXPECT_STREQ([[CatchNSException([&] { operation(&error); }) name] UTF8String], "Foreign");
    EXPECT_EQ(script.Calls().back(), "dialog hide");
  }
  calls.back().fill = ThrowFromCard;
  const TestCard::ScriptedCard script(calls);
  EXPECT_EQ(PassingException([&] { operation(&error); }), "from the card");
  EXPECT_EQ(script.Calls().back(), "dialog hide");
  EXPECT_EQ(error, UntouchedError());
}

void RaiseFromCard(TestCard::Call &) {
  [NSException raise:@"Foreign" format:@"from the card"];
}

void ThrowFromCard(TestCard::Call &) {
  throw std::runtime_error("from the card");
}

::testing::AssertionResult IsErrorOf(NSInteger code, NSError *error) {
  if (code != 0) {
    if ([[error userInfo] count] != 0) return ::testing::AssertionFailure() << "the error has user information";
    return IsError(error, TKErrorDomain, code);
  }
  if (error == UntouchedError()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "the out-pointer was written";
}

NSError *UntouchedError() {
  static NSError *error = [[NSError alloc] initWithDomain:@"untouched" code:1 userInfo:nil];
  return error;
}
