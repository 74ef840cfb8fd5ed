// Every call that an operation makes is made to fail with every return value; what follows must be what the rules say.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <set>

#include "pkcs11/TarnwellPkcs11Module.h"
#include "tests/faults/FaultRules.h"
#include "tests/faults/ReturnValues.h"
#import "tests/token/TokenTest.h"
#import "token/QELAuthOperation.h"

using namespace Faults;
using TestCard::FakeCard;
using TestCard::FakeSlot;
using Names = std::vector<std::string>;

namespace {

/// An operation under test: `prepare` brings the card to its beginning, `run` is what the fault hits and answers
/// whether it succeeded.
struct Operation {
  const char *name;
  Stage stage;
  std::function<std::vector<FakeSlot>()> slots;
  std::function<id(FakeCard &)> prepare;
  std::function<bool(id prepared, NSError **error)> run;
};

std::string LogLine(const char *call, CK_RV rv) {
  char text[64];
  std::snprintf(text, sizeof text, "%s() => 0x%08lX", call, rv);
  return text;
}

/// The occurrences to hit among `count`: the first, the second, the last.
std::set<int> Occurrences(int count) {
  std::set<int> occurrences = {1, count};
  if (count > 1) occurrences.insert(2);
  return occurrences;
}

}  // namespace

class FaultMatrix : public TokenTest {
 protected:
  /// Runs all faults of one operation.
  void Run(const Operation &operation);

  static std::vector<FakeSlot> CachedOneSlot() {
    static const std::vector<FakeSlot> slots = OneSlot();
    return slots;
  }
  static std::vector<FakeSlot> CachedTwoSlots() {
    static const std::vector<FakeSlot> slots = TwoSlots();
    return slots;
  }
  static std::vector<FakeSlot> PinPad() {
    std::vector<FakeSlot> slots = CachedOneSlot();
    slots[0].tokenFlags = CKF_PROTECTED_AUTHENTICATION_PATH;
    slots[0].slotType = 0x80000002;
    return slots;
  }
  /// A token whose user is logged in, and a session of it.
  static id LoggedInSession(FakeCard &card) {
    card.LogIn();
    return MakeSession(MakeToken());
  }
  static id Nothing(FakeCard &) { return nil; }
  static bool Construct(id, NSError **error) { return MakeToken(error) != nil; }
  static id Session(FakeCard &) { return MakeSession(MakeToken()); }

  static Operation Signing(const char *name, std::vector<SecKeyAlgorithm> algorithm, int key,
                           std::vector<FakeSlot> (*slots)());

 private:
  Names Golden(const Operation &operation);
  void RunCase(const Operation &operation, const Names &golden, const Rule &rule, int occurrence,
               const ReturnValue &rv);
  static Names ExpectedCalls(const Names &golden, const Rule &rule, int occurrence);
  LogLines ExpectedLines(const Rule &rule, size_t failing, CK_RV rv) const;
  static size_t IndexOf(const Names &calls, const std::string &call, int occurrence);
  void CheckError(const Rule &rule, bool succeeded, NSError *error, NSError *untouched, CK_RV rv);

  LogLines m_lines;                   // of the operation without a fault
  size_t m_systemLines = 0;           // in the system log
  std::vector<size_t> m_linesBefore;  // how many of them were logged before each call ended
  int m_cases = 0;
};

Names FaultMatrix::Golden(const Operation &operation) {
  Names calls;
  FakeCard card(operation.slots());
  @autoreleasepool {
    id prepared = operation.prepare(card);
    card.ClearCalls();
    const CapturedLog log;
    const SystemLog::Captured systemLog;
    m_linesBefore.clear();
    card.Tell([&](const std::string &) { m_linesBefore.resize(card.Names().size(), log.Lines().size()); });
    EXPECT_TRUE(operation.run(prepared, nullptr)) << operation.name << " without a fault";
    card.Tell(nullptr);
    m_lines = log.Lines();
    m_systemLines = systemLog.Texts().size();
    calls = card.Names();
  }
  return calls;
}

void FaultMatrix::Run(const Operation &operation) {
  Golden(operation);  // the first token of the process also initializes the library
  const Names golden = Golden(operation);
  ASSERT_FALSE(golden.empty());
  for (const std::string &call : std::set<std::string>(golden.begin(), golden.end())) {
    if (call.rfind("C_", 0) != 0) continue;  // the dialog's part in the sequence
    const Rule *rule = FindRule(operation.stage, call);
    if (rule == nullptr) continue;
    for (const int occurrence : Occurrences(static_cast<int>(std::count(golden.begin(), golden.end(), call)))) {
      for (const ReturnValue &rv : kReturnValues) {
        SCOPED_TRACE(std::string(operation.name) + ": " + call + " number " + std::to_string(occurrence) + " answers " +
                     rv.name);
        RunCase(operation, golden, *rule, occurrence, rv);
        if (HasFailure()) return;  // one broken rule breaks hundreds of cases
      }
    }
  }
  std::printf("%s: %d fault cases\n", operation.name, m_cases);
  RecordProperty("cases", m_cases);
}

void FaultMatrix::RunCase(const Operation &operation, const Names &golden, const Rule &rule, int occurrence,
                          const ReturnValue &rv) {
  ++m_cases;
  // "Already logged in" is a success, whichever login it answers.
  const bool countsAsSuccess =
      operation.stage == Stage::Login && rule.outcome == Outcome::Mapped && rv.value == CKR_USER_ALREADY_LOGGED_IN;
  LiveObjects tokens([QELToken class]), sessions([QELTokenSession class]), pairs([SlotSessionPair class]),
      logins([QELAuthOperation class]);
  FakeCard card(operation.slots());
  card.IgnoreLeftovers();
  const size_t dialogCallsBefore = m_dialog.Calls().size();
  int opened = 0;
  @autoreleasepool {
    id prepared = operation.prepare(card);
    opened = card.Count("C_OpenSession");
    card.ClearCalls();
    card.Fail(rule.call, rv.value, occurrence);
    NSError *untouched = [NSError errorWithDomain:@"untouched" code:1 userInfo:nil];
    NSError *error = untouched;
    CapturedLog log;
    const SystemLog::Captured systemLog;
    const bool succeeded = operation.run(prepared, &error);

    EXPECT_EQ(card.Names(), ExpectedCalls(golden, rule, occurrence));
    if (countsAsSuccess) {
      EXPECT_TRUE(succeeded);
      EXPECT_EQ(error, untouched);
    } else if (operation.stage == Stage::Login && rule.outcome == Outcome::Mapped) {
      // Of two logins the second decides; a failed first one leaves its error behind.
      const bool decides = occurrence == std::count(golden.begin(), golden.end(), rule.call);
      EXPECT_EQ(succeeded, !decides);
      CheckError(rule, false, error, untouched, rv.value);
    } else {
      CheckError(rule, succeeded, error, untouched, rv.value);
    }

    EXPECT_EQ(log.Lines(), ExpectedLines(rule, IndexOf(golden, rule.call, occurrence), rv.value));
    const bool told = rule.stage == Stage::Construction && rule.outcome == Outcome::Fails;
    EXPECT_EQ(systemLog.Texts().size(), m_systemLines + (told ? 1 : 0));
    const Names dialog = m_dialog.Calls();
    EXPECT_EQ(std::count(dialog.begin() + static_cast<long>(dialogCallsBefore), dialog.end(), "hide"),
              static_cast<long>(dialog.size() - dialogCallsBefore) / 2);
    EXPECT_FALSE(m_dialog.IsVisible());
  }
  EXPECT_EQ(card.Count("C_CloseSession"),
            opened + card.Count("C_OpenSession") - (std::string(rule.call) == "C_OpenSession" ? 1 : 0));
}

void FaultMatrix::CheckError(const Rule &rule, bool succeeded, NSError *error, NSError *untouched, CK_RV rv) {
  switch (rule.outcome) {
    case Outcome::Fails:
      EXPECT_FALSE(succeeded);
      EXPECT_TRUE(IsError(error, @"QELToken", rule.code));
      EXPECT_STREQ([[error localizedDescription] UTF8String], rule.message);
      return;
    case Outcome::Mapped:
      EXPECT_FALSE(succeeded);
      if (TokenKitCode(rv) != 0) {
        EXPECT_TRUE(IsError(error, @"CryptoTokenKit", TokenKitCode(rv)));
        EXPECT_EQ([[error userInfo] count], 0u);
      } else {
        EXPECT_EQ(error, untouched);
      }
      return;
    case Outcome::Refuses:
      EXPECT_FALSE(succeeded);
      EXPECT_EQ(error, untouched);
      return;
    case Outcome::GoesOn:
      EXPECT_TRUE(succeeded);
      EXPECT_EQ(error, untouched);
      return;
  }
}

size_t FaultMatrix::IndexOf(const Names &calls, const std::string &call, int occurrence) {
  for (size_t i = 0; i < calls.size(); ++i) {
    if (calls[i] == call && --occurrence == 0) return i;
  }
  return calls.size();
}

/// The calls without a fault up to the failing one, and then only what must be cleaned up.
Names FaultMatrix::ExpectedCalls(const Names &golden, const Rule &rule, int occurrence) {
  if (std::string(rule.call) == "C_GetSlotType") {
    Names plainDialog = golden;
    std::replace(plainDialog.begin(), plainDialog.end(), std::string("dialog show 8"), std::string("dialog show 1"));
    return plainDialog;
  }
  if (rule.outcome == Outcome::GoesOn || rule.stage == Stage::Login) return golden;
  const auto end = golden.begin() + static_cast<long>(IndexOf(golden, rule.call, occurrence)) + 1;
  Names expected(golden.begin(), end);
  if (std::string(rule.call) == "C_FindObjects") expected.push_back("C_FindObjectsFinal");
  const bool dialogIsVisible = std::count(expected.begin(), expected.end(), "dialog show 8") >
                               std::count(expected.begin(), expected.end(), "dialog hide");
  if (dialogIsVisible) expected.push_back("dialog hide");
  if (rule.stage == Stage::Construction) {
    auto opened = std::count(expected.begin(), expected.end(), "C_OpenSession");
    if (std::string(rule.call) == "C_OpenSession") --opened;
    expected.insert(expected.end(), static_cast<size_t>(opened), "C_CloseSession");
  }
  return expected;
}

/// The lines without a fault up to the failing call, its own line, and where the operation goes on, the others.
LogLines FaultMatrix::ExpectedLines(const Rule &rule, size_t failing, CK_RV rv) const {
  const auto rest = m_lines.begin() + static_cast<long>(m_linesBefore[failing]);
  LogLines expected(m_lines.begin(), rest);
  if (rule.stage == Stage::Login && rule.outcome == Outcome::Mapped) {
    expected.emplace_back(kInfo, "C_Login rv = " + std::to_string(rv));
    while (expected.size() < m_lines.size()) expected.emplace_back(kInfo, "C_Login rv = 0");
    return expected;
  }
  if (rule.loggedName != nullptr) expected.emplace_back(rule.level, LogLine(rule.loggedName, rv));
  if (rule.stage == Stage::Construction && std::string(rule.call) == "C_GetTokenInfo") {
    expected.emplace_back(kInfo, "Error while getting TokenInfo, probably unsupported smart card type.");
  }
  if (rule.outcome == Outcome::GoesOn) expected.insert(expected.end(), rest, m_lines.end());
  return expected;
}

Operation FaultMatrix::Signing(const char *name, std::vector<SecKeyAlgorithm> algorithm, int key,
                               std::vector<FakeSlot> (*slots)()) {
  return {name, Stage::KeyUse, slots, LoggedInSession, [=](id session, NSError **error) {
            NSMutableArray<NSString *> *names = [NSMutableArray array];
            for (const SecKeyAlgorithm step : algorithm) [names addObject:(NSString *)step];
            return [session tokenSession:session
                                signData:Data({0x00, 0x01, 0xFF, 0x00, 0x30, 0x31})
                                usingKey:Data({0x12, key, key + 1})
                               algorithm:[[[TKTokenKeyAlgorithm alloc] initWithAlgorithms:names] autorelease]
                                   error:error] != nil;
          }};
}

TEST_F(FaultMatrix, ALibraryThatDoesNotInitializeFailsEveryConstruction) {
  for (const ReturnValue &rv : kReturnValues) {
    SCOPED_TRACE(rv.name);
    FakeCard card(CachedOneSlot());
    card.Fail("C_Initialize", rv.value);
    @autoreleasepool {
      NSError *error = nil;
      EXPECT_EQ(MakeToken(&error), nil);
      EXPECT_TRUE(IsError(error, @"QELToken", -3));
    }
    EXPECT_EQ(card.Names(), Names{"C_Initialize"});
  }
}

TEST_F(FaultMatrix, ALibraryThatDoesNotFinalizeIsOnlyLogged) {
  for (const ReturnValue &rv : kReturnValues) {
    SCOPED_TRACE(rv.name);
    FakeCard card({});
    const SystemLog::Captured systemLog;
    {
      const TarnwellPkcs11Module module;
      card.Fail("C_Finalize", rv.value);
    }
    char expected[64];
    std::snprintf(expected, sizeof expected, "C_Finalize => 0x%08lX", rv.value);
    EXPECT_EQ(systemLog.Texts(), Names{expected});
  }
}

TEST_F(FaultMatrix, ConstructionOnOneSlot) {
  Run({"construction, one slot", Stage::Construction, CachedOneSlot, Nothing, Construct});
}

TEST_F(FaultMatrix, ConstructionOnTwoSlots) {
  Run({"construction, two slots", Stage::Construction, CachedTwoSlots, Nothing, Construct});
}

TEST_F(FaultMatrix, SessionCreation) {
  Run({"session creation, two slots", Stage::SessionCreation, CachedTwoSlots,
       [](FakeCard &) { return (id)MakeToken(); },
       [](id token, NSError **error) { return [token token:token createSessionWithError:error] != nil; }});
}

TEST_F(FaultMatrix, SupportQuestionForKeyExchange) {
  Run({"support question", Stage::SupportQuestion, CachedOneSlot, Session, [](id session, NSError **) {
         return [session tokenSession:session
                    supportsOperation:TKTokenOperationPerformKeyExchange
                             usingKey:Data({0x12, 0x03, 0x04})
                            algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})] == YES;
       }});
}

TEST_F(FaultMatrix, KeyboardLogin) {
  Run({"keyboard login", Stage::Login, CachedOneSlot, Session, [](id session, NSError **error) {
         auto *login = (QELAuthOperation *)[session tokenSession:session
                                           beginAuthForOperation:TKTokenOperationSignData
                                                      constraint:@"PINAlways"
                                                           error:nullptr];
         [login setPIN:@"1234"];
         return [login finishWithError:error] == YES;
       }});
}

TEST_F(FaultMatrix, PinPadLogin) {
  Run({"PIN pad login", Stage::Login, PinPad, Session, [](id session, NSError **error) {
         return [[session tokenSession:session
                    beginAuthForOperation:TKTokenOperationSignData
                               constraint:@"PINAlways"
                                    error:nullptr] finishWithError:error] == YES;
       }});
}

TEST_F(FaultMatrix, RawRsaSignature) {
  Run(Signing("raw RSA signature", {kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, kSecKeyAlgorithmRSASignatureRaw}, 1,
              CachedOneSlot));
}

TEST_F(FaultMatrix, PssSignature256) {
  Run(Signing("PSS SHA-256 signature", {kSecKeyAlgorithmRSASignatureDigestPSSSHA256}, 1, CachedOneSlot));
}

TEST_F(FaultMatrix, PssSignature384) {
  Run(Signing("PSS SHA-384 signature", {kSecKeyAlgorithmRSASignatureDigestPSSSHA384}, 1, CachedOneSlot));
}

TEST_F(FaultMatrix, PssSignature512) {
  Run(Signing("PSS SHA-512 signature", {kSecKeyAlgorithmRSASignatureDigestPSSSHA512}, 1, CachedOneSlot));
}

TEST_F(FaultMatrix, EcdsaSignatureOnAPinPadReader) {
  Run(Signing("ECDSA signature, PIN pad", {kSecKeyAlgorithmECDSASignatureDigestX962}, 3, PinPad));
}

TEST_F(FaultMatrix, DecryptionOnAPinPadReader) {
  Run({"decryption, PIN pad", Stage::KeyUse, PinPad, LoggedInSession, [](id session, NSError **error) {
         return [session tokenSession:session
                          decryptData:Data({1, 2, 3})
                             usingKey:Data({0x12, 0x01, 0x02})
                            algorithm:Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})
                                error:error] != nil;
       }});
}

TEST_F(FaultMatrix, KeyExchangeOnAPinPadReader) {
  Run({"key exchange, PIN pad", Stage::KeyUse, PinPad, LoggedInSession, [](id session, NSError **error) {
         auto *parameters = [[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:32
                                                                              sharedInfo:nil] autorelease];
         return [session tokenSession:session
                    performKeyExchangeWithPublicKey:Data({4, 1, 2})
                                           usingKey:Data({0x12, 0x03, 0x04})
                                          algorithm:Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1})
                                         parameters:parameters
                                              error:error] != nil;
       }});
}

TEST_F(FaultMatrix, TeardownOfTwoSlots) {
  Run({"teardown, two slots", Stage::Teardown, CachedTwoSlots,
       [](FakeCard &) {
         id holder = [[NSMutableArray alloc] init];
         @autoreleasepool {
           [holder addObject:MakeToken()];
         }
         return holder;
       },
       [](id holder, NSError **) {
         [holder release];
         return true;
       }});
}
