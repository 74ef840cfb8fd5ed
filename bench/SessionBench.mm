// Signatures on one SoftHSM2 token: the product's session in the process and through the host's socket, beside the same
// calls made bare and beside the least that PKCS#11 asks for.

#include <benchmark/benchmark.h>

#include "bench/BenchCard.h"
#import "bench/TokenInProcess.h"
#include "bench/TokenThroughHost.h"
#include "bench/Turns.h"

namespace {

constexpr int kTurns = 200;

/// So many that a turn is not lost in the clock's resolution.
int CallsPerTurn(const SigningKey &key) {
  return key.name == "P-256" ? 10 : 1;
}

TokenInProcess &MainToken() {
  static TokenInProcess *const token = [] {
    auto *made = new TokenInProcess(BenchCard::Use(BenchCard::kMain).c_str());
    made->LogIn([NSString stringWithUTF8String:BenchCard::kPin]);
    return made;
  }();
  return *token;
}

Side InProcess(const SigningKey &key) {
  NSData *data = NewData(key.PlatformInput()), *identifier = NewKeyID(key.id);
  TKTokenKeyAlgorithm *algorithm = NewSigningAlgorithm(key);
  return {"product", [=] { MainToken().Sign(data, identifier, algorithm); }};
}

void BesideBareCalls(benchmark::State &state, const SigningKey &key) {
  @autoreleasepool {
    const Bare::Card card = MainToken().Card();
    const Bare::ByteString input = key.CardInput();
    const CK_OBJECT_HANDLE handle = Bare::FindPrivateKey(card, key.id);
    TakeTurns(state, CallsPerTurn(key),
              {InProcess(key),
               {"same calls", [&] { Bare::Sign(card, key.id, key.mechanism, input); }},
               {"least calls", [&] { Bare::SignWithKey(card, handle, key.mechanism, input); }}});
  }
}

void ThroughSocket(benchmark::State &state, const SigningKey &key) {
  @autoreleasepool {
    const Side inProcess = InProcess(key);
    inProcess.call();
    TokenThroughHost host(BenchCard::Use(BenchCard::kMain));
    host.LogIn();
    const auto request = TokenThroughHost::RequestFor(key);
    TakeTurns(state, CallsPerTurn(key), {{"product", [&] { host.Sign(request); }}, {"in process", inProcess.call}},
              Clock::Wall);
  }
}

}  // namespace

int main(int argc, char **argv) {
  for (const SigningKey &key : MainKeys()) {
    benchmark::RegisterBenchmark((key.name + " signature/turns").c_str(), BesideBareCalls, key)->Iterations(kTurns);
    benchmark::RegisterBenchmark((key.name + " signature through the socket/turns").c_str(), ThroughSocket, key)
        ->Iterations(kTurns);
  }
  return RunBenchmarks(argc, argv);
}
