#include "bench/LayerCases.h"

#include "bench/NullCard.h"
#import "bench/TokenInProcess.h"
#import "platform/testing/TKTesting.h"

namespace {

const SigningKey kRsa = {"RSA-2048", {0, 0, 0, 1}, CKM_RSA_PKCS, 256, 32};
const SigningKey kEc = {"P-256", {0, 0, 0, 2}, CKM_ECDSA, 0, 32};
constexpr CK_ULONG kAgreedBytes = 32;

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
      {"login check", [=] { token.AskForLogin(); }, [=] { Bare::IsLoggedIn(card); }},
      {"support question for signing", [=] { token.AskForSupport(TKTokenOperationSignData, rsaKey, rsa); }, [] {}},
      {"support question for key exchange",
       [=] { token.AskForSupport(TKTokenOperationPerformKeyExchange, ecKey, exchange); },
       [=] { Bare::Derives(card.functions, slot); }},
  };
}

}  // namespace

const std::vector<LayerCase> &LayerCases() {
  static const std::vector<LayerCase> cases = MakeCases();
  return cases;
}
