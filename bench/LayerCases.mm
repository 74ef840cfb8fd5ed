#include "bench/LayerCases.h"

#include <cstdlib>

#include "bench/NullCard.h"
#import "bench/TokenInProcess.h"
#include "host/keys/AlgorithmWalk.h"
#include "log/QELLog.h"
#import "platform/testing/TKTesting.h"

namespace {

const SigningKey kRsa = {"RSA-2048", {0, 0, 0, 1}, CKM_RSA_PKCS, 256, 32};
const SigningKey kEc = {"P-256", {0, 0, 0, 2}, CKM_ECDSA, 0, 32};
constexpr CK_ULONG kAgreedBytes = 32;

/// What the platform asks until the session takes `algorithm`: for one operation it asks as often.
std::function<void()> SupportQuestions(TokenInProcess &token, Wire::Operation operation, const char *algorithm,
                                       NSData *key) {
  struct Question {
    TKTokenOperation operation;
    TKTokenKeyAlgorithm *algorithm;
  };
  std::vector<Question> questions;
  const auto taken = Host::FindSupported(operation, algorithm, [&](const Host::Candidate &candidate) {
    NSMutableArray *names = [NSMutableArray array];
    for (const auto &name : candidate.algorithms) [names addObject:@(name.c_str())];
    questions.push_back({static_cast<TKTokenOperation>(candidate.operation), NewAlgorithm(names)});
    return token.Supports(questions.back().operation, key, questions.back().algorithm);
  });
  if (!taken) std::abort();
  return [=, &token] {
    for (const Question &question : questions) token.Supports(question.operation, key, question.algorithm);
  };
}

/// Statements whose level is not admitted, each with a text and two numbers to insert.
void LogDeadStatements(int count) {
  static const std::string text = "slot description";
  for (int number = 0; number < count; ++number) {
    QELLog::Debug() << text << number << 0.5;
    asm volatile("" ::: "memory");  // each is a statement of its own
  }
}

std::vector<LayerCase> MakeCases() {
  static TokenInProcess token(NullCard::kReader);
  const Bare::Card card = token.Card();
  const CK_SLOT_ID slot = token.Slot();
  NSData *rsaKey = NewKeyID(kRsa.id), *ecKey = NewKeyID(kEc.id);

  TKTokenKeyAlgorithm *rsa = NewRawRsaAlgorithm(), *ecdsa = NewEcdsaAlgorithm();
  const Bare::ByteString info = kRsa.CardInput(), digest = kEc.CardInput(), ciphertext(256, 0x42), point(64, 0x07);
  NSData *block = NewData(kRsa.PlatformInput()), *hash = NewData(digest), *encrypted = NewData(ciphertext);

  TKTokenKeyAlgorithm *decryption = NewAlgorithm(@[ (NSString *)kSecKeyAlgorithmRSAEncryptionPKCS1 ]);
  TKTokenKeyAlgorithm *exchange = NewAlgorithm(@[ (NSString *)kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1 ]);
  Bare::ByteString uncompressed = {0x04};
  uncompressed.insert(uncompressed.end(), point.begin(), point.end());
  NSData *peer = NewData(uncompressed);
  auto *parameters = [[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:kAgreedBytes sharedInfo:nil];

  return {
      {"RSA-2048 signature", [=] { token.Sign(block, rsaKey, rsa); },
       [=] { Bare::Sign(card, kRsa.id, CKM_RSA_PKCS, info); }},
      {"P-256 signature", [=] { token.Sign(hash, ecKey, ecdsa); },
       [=] { Bare::Sign(card, kEc.id, CKM_ECDSA, digest); }},
      {"decryption", [=] { token.Decrypt(encrypted, rsaKey, decryption); },
       [=] { Bare::Decrypt(card, kRsa.id, ciphertext); }},
      {"key exchange", [=] { token.Agree(peer, ecKey, exchange, parameters); },
       [=] { Bare::Agree(card, kEc.id, point, kAgreedBytes); }},
      {"1000 dead statements", [] { LogDeadStatements(1000); }, [] {}},
      {"login check", [=] { token.AskForLogin(); }, [=] { Bare::IsLoggedIn(card); }},
      {"support questions for an RSA-2048 signature",
       SupportQuestions(token, Wire::Operation::SignData, "algid:sign:RSA:message-PKCS1v15:SHA256", rsaKey), [] {}},
      {"support questions for a P-256 signature",
       SupportQuestions(token, Wire::Operation::SignData, "algid:sign:ECDSA:message-X962:SHA256", ecKey), [] {}},
      {"support questions for a decryption",
       SupportQuestions(token, Wire::Operation::DecryptData, "algid:encrypt:RSA:PKCS1", rsaKey), [] {}},
      {"support questions for an agreement",
       SupportQuestions(token, Wire::Operation::PerformKeyExchange, "algid:keyexchange:ECDH:KDFX963:SHA1", ecKey),
       [=] { Bare::Derives(card.functions, slot); }},
  };
}

}  // namespace

const std::vector<LayerCase> &LayerCases() {
  static const std::vector<LayerCase> cases = [] {
    @autoreleasepool {
      return MakeCases();
    }
  }();
  return cases;
}
