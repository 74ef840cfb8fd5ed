// The product's own time per signature on the benchmark cards: in the process, and through the host's socket. Beside it
// what its calls leave to a caller that does nothing else: after a call into a library that evicts the caller's memory
// from the processor's caches, nothing is as quick as it was before.

#include "bench/BenchCard.h"
#include "bench/Callgrind.h"
#include "bench/OwnCounts.h"
#include "bench/OwnTime.h"
#import "bench/TokenInProcess.h"
#include "bench/TokenThroughHost.h"
#include "bench/Turns.h"
#import "platform/testing/TKTesting.h"

namespace {

void InProcess(benchmark::State &state, const std::string &card, const SigningKey &key) {
  @autoreleasepool {
    TokenInProcess token(BenchCard::Use(card).c_str());
    token.LogIn([NSString stringWithUTF8String:BenchCard::kPin]);
    NSData *data = NewData(key.PlatformInput()), *identifier = NewKeyID(key.id);
    TKTokenKeyAlgorithm *algorithm = NewSigningAlgorithm(key);
    MeasureOwnTime(state, [&] { token.Sign(data, identifier, algorithm); });
  }
}

void SameCalls(benchmark::State &state, const std::string &card, const SigningKey &key) {
  @autoreleasepool {
    TokenInProcess token(BenchCard::Use(card).c_str());
    token.LogIn([NSString stringWithUTF8String:BenchCard::kPin]);
    const Bare::Card calls = token.Card();
    const Bare::ByteString input = key.CardInput();
    MeasureOwnTime(state, [&] { Bare::Sign(calls, key.id, key.mechanism, input); });
  }
}

void ThroughSocket(benchmark::State &state, const std::string &card, const SigningKey &key) {
  TokenThroughHost host(BenchCard::Use(card));
  host.LogIn();
  const auto request = TokenThroughHost::RequestFor(key);
  MeasureOwnTime(state, [&] { host.Sign(request); });
}

TokenInProcess &LoggedIn() {
  @autoreleasepool {
    auto &token = *new TokenInProcess(BenchCard::Use(BenchCard::kMain).c_str());
    token.LogIn([NSString stringWithUTF8String:BenchCard::kPin]);
    return token;
  }
}

/// Everything lives until the process ends.
std::function<void()> MakeOperation(Operation operation, const SigningKey &key) {
  static TokenInProcess &token = LoggedIn();
  NSData *identifier = NewKeyID(key.id);
  switch (operation) {
    case Operation::Signature: {
      NSData *data = NewData(key.PlatformInput());
      TKTokenKeyAlgorithm *algorithm = NewSigningAlgorithm(key);
      return [=] { token.Sign(data, identifier, algorithm); };
    }
    case Operation::Decryption: {
      NSData *ciphertext = NewData(BenchCard::Ciphertext());
      TKTokenKeyAlgorithm *algorithm = NewAlgorithm(@[ (NSString *)kSecKeyAlgorithmRSAEncryptionPKCS1 ]);
      return [=] { token.Decrypt(ciphertext, identifier, algorithm); };
    }
    case Operation::Agreement: {
      const auto peer = BenchCard::PeerKey();
      NSData *point = NewData({peer.end() - 65, peer.end()});
      TKTokenKeyAlgorithm *algorithm = NewAlgorithm(@[ (NSString *)kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1 ]);
      auto *parameters = [[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:kAgreedBytes sharedInfo:nil];
      return [=] { token.Agree(point, identifier, algorithm, parameters); };
    }
  }
  return {};
}

}  // namespace

int main(int argc, char **argv) {
  if (UnderValgrind()) return CountOperations(MakeOperation);
  RegisterOwnTime("product", InProcess);
  RegisterOwnTime("same calls", SameCalls);
  RegisterOwnTime("product through the socket", ThroughSocket);
  return RunBenchmarks(argc, argv);
}
