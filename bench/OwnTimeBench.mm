// The product's own time per signature on the benchmark cards: in the process, and through the host's socket. Beside it
// what its calls leave to a caller that does nothing else: after a call into a library that evicts the caller's memory
// from the processor's caches, nothing is as quick as it was before.

#include "bench/BenchCard.h"
#include "bench/OwnTime.h"
#import "bench/TokenInProcess.h"
#include "bench/TokenThroughHost.h"
#include "bench/Turns.h"

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

}  // namespace

int main(int argc, char **argv) {
  RegisterOwnTime("product", InProcess);
  RegisterOwnTime("same calls", SameCalls);
  RegisterOwnTime("product through the socket", ThroughSocket);
  return RunBenchmarks(argc, argv);
}
