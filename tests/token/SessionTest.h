#pragma once

#include <functional>

#import "tests/token/TokenTest.h"

/// An error object to find again: what a caller's variable held before the call.
NSError *UntouchedError();

/// A token on a fake card and a session of it, with the user logged in; calls and logs are recorded from there on.
class SessionTest : public TokenTest {
 protected:
  using Trace = std::vector<std::string>;
  using Bytes = TestCard::ByteString;

  SessionTest() : SessionTest(OneSlot()) {}
  explicit SessionTest(std::vector<TestCard::FakeSlot> slots);
  ~SessionTest() override { ExpectInfosAndErrorsOnly(m_log); }

  /// One slot whose reader has a PIN pad of that vendor type.
  static std::vector<TestCard::FakeSlot> PinPadSlot(CK_ULONG slotType);
  /// Two slots with PIN pads of different types.
  static std::vector<TestCard::FakeSlot> TwoPinPadSlots();

  // What CryptoTokenKit asks, with the fixture's keys unless another is named.
  NSData *Sign(NSData *data, TKTokenKeyAlgorithm *algorithm, NSError **error = nullptr, NSData *key = RsaKey());
  NSData *Decrypt(NSData *ciphertext, NSError **error = nullptr, NSData *key = RsaKey());
  NSData *Agree(NSData *publicKey, TKTokenKeyExchangeParameters *parameters, NSError **error = nullptr,
                NSData *key = EcKey(), TKTokenKeyAlgorithm *algorithm = X963Sha1());
  bool Supports(TKTokenOperation operation, NSData *key, TKTokenKeyAlgorithm *algorithm);

  static NSData *RsaKey() { return Data({0x12, 0x01, 0x02}); }
  static NSData *EcKey() { return Data({0x12, 0x03, 0x04}); }
  // The same keys on a second slot.
  static NSData *LaterRsaKey() { return Data({0x22, 0x01, 0x02}); }
  static NSData *LaterEcKey() { return Data({0x22, 0x03, 0x04}); }
  /// What the platform makes of a PKCS#1 v1.5 signature.
  static TKTokenKeyAlgorithm *RawRsa();
  static TKTokenKeyAlgorithm *Ecdsa();
  static TKTokenKeyAlgorithm *X963Sha1();
  static TKTokenKeyExchangeParameters *Parameters(NSInteger requestedSize, NSData *sharedInfo = nil);
  /// A padded block with the payload 30 31.
  static NSData *Block() { return Data({0x00, 0x01, 0xFF, 0xFF, 0x00, 0x30, 0x31}); }

  /// A ciphertext as long as the RSA key.
  static NSData *Ciphertext() { return Data(Bytes(256, 0xC1)); }
  /// The other party's point in X9.63 form: 04, 32 bytes 58 for X, 32 bytes 59 for Y.
  static NSData *PeerKey();

  /// The calls that find a private key in `session` before every operation, followed by `rest`.
  static Trace AfterFindingTheKey(const std::string &session, Trace rest);
  /// The same calls as rows of a script; key handle 3.
  static std::vector<TestCard::Row> AfterFindingTheKey(std::vector<TestCard::Row> rest);

  /// Lets each of `calls`, which follow the search for the key, fail in turn with each of kCardResults, and expects
  /// `operation` to end there: nil, the one log line, the error that belongs to the result; with an out-pointer and
  /// without.
  void ExpectEachFailureMapped(const std::vector<TestCard::Row> &calls,
                               const std::function<NSData *(NSError **)> &operation);
  /// Expects a logged out user to get nothing but "authentication needed" from `operation`.
  void ExpectAuthenticationNeeded(const std::function<NSData *(NSError **)> &operation);
  /// Expects the extension's own failures before the first call of the operation itself to become errors.
  void ExpectFailuresBeforeTheKeyIsFound(const std::function<NSData *(NSError **)> &operation);

  /// Expects an exception of the library in the last of `calls`, an NSException or a C++ one, to pass `operation` with
  /// the error untouched and the PIN pad dialog hidden.
  void ExpectForeignExceptionsToPass(std::vector<TestCard::Row> calls,
                                     const std::function<void(NSError **)> &operation);

  /// The operation that a client gets for a login on `session`, of exactly that class; autoreleased.
  template <typename Operation>
  static Operation *Begun(QELTokenSession *session);
  /// Expects such an operation for whatever a client asks, with the error untouched.
  template <typename Operation>
  void ExpectOperationWhateverIsAsked();
  /// Expects such an operation to keep its session alive.
  template <typename Operation>
  void ExpectOperationToKeepItsSession();

  TestCard::FakeCard m_card;
  LiveObjects m_tokens{[QELToken class]}, m_sessions{[QELTokenSession class]}, m_pairs{[SlotSessionPair class]};
  QELToken *m_token;
  QELTokenSession *m_session;
  TKTokenSession *m_nobody = nil;  // whom the questions name as their session: the receiver answers
  // Instead of those that saw the construction.
  CapturedLog m_log;
  SystemLog::Captured m_systemLog;
};

template <typename Operation>
Operation *SessionTest::Begun(QELTokenSession *session) {
  TKTokenAuthOperation *operation = [session tokenSession:session
                                    beginAuthForOperation:TKTokenOperationSignData
                                               constraint:@"PINAlways"
                                                    error:nullptr];
  EXPECT_TRUE([operation isMemberOfClass:[Operation class]]);
  return (Operation *)operation;
}

template <typename Operation>
void SessionTest::ExpectOperationWhateverIsAsked() {
  NSError *error = UntouchedError();
  NSString *constraints[] = {@"PINAlways", @"another", @"", nil};
  for (NSInteger asked = TKTokenOperationNone; asked <= TKTokenOperationPerformKeyExchange + 1; ++asked) {
    for (TKTokenOperationConstraint constraint : constraints) {
      auto *operation = (Operation *)[m_session tokenSession:m_nobody
                                       beginAuthForOperation:static_cast<TKTokenOperation>(asked)
                                                  constraint:constraint
                                                       error:&error];
      EXPECT_TRUE([operation isMemberOfClass:[Operation class]]);
      EXPECT_EQ([operation session], m_session);
    }
  }
  EXPECT_EQ(error, UntouchedError());
}

template <typename Operation>
void SessionTest::ExpectOperationToKeepItsSession() {
  Operation *operation = nil;
  const long before = m_sessions.Growth();
  @autoreleasepool {
    operation = [Begun<Operation>(MakeSession(m_token)) retain];
  }
  EXPECT_EQ(m_sessions.Growth(), before + 1);
  [operation release];
  EXPECT_EQ(m_sessions.Growth(), before);
}

/// A session on a reader with a PIN pad of type 0x80000002.
class PinPadTest : public SessionTest {
 protected:
  PinPadTest() : SessionTest(PinPadSlot(0x80000002)) {}
};

/// A session on a card with two slots.
class TwoSlotTest : public SessionTest {
 protected:
  TwoSlotTest() : SessionTest(TwoSlots()) {}
};

/// A session on a card with two slots whose readers have PIN pads of types 0x80000002 and 0x80000003.
class TwoPinPadsTest : public SessionTest {
 protected:
  TwoPinPadsTest() : SessionTest(TwoPinPadSlots()) {}
};

/// A failed card call's result, the code of its error in TKErrorDomain (0: none), and its value as the logs print it.
struct CardResult {
  CK_RV rv;
  NSInteger code;
  const char *digits;
};
inline constexpr CardResult kCardResults[] = {
    {CKR_FUNCTION_CANCELED, -4, "00000050"},  {CKR_PIN_INCORRECT, -8, "000000A0"},
    {CKR_USER_NOT_LOGGED_IN, -9, "00000101"}, {CKR_DEVICE_ERROR, 0, "00000030"},
    {CKR_OPERATION_ACTIVE, 0, "00000090"},    {CKR_PIN_LOCKED, 0, "000000A4"},
    {CKR_VENDOR_DEFINED, 0, "80000000"},
};

/// Expects `error` to be the one of that code, or still UntouchedError() for code 0.
::testing::AssertionResult IsErrorOf(NSInteger code, NSError *error);

// What a call of the library can end with that is not a result.
void RaiseFromCard(TestCard::Call &);
void ThrowFromCard(TestCard::Call &);
