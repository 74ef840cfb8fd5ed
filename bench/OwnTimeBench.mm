// The product's own time per signature on the benchmark cards: in the process, and through the host's socket.

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

void ThroughSocket(benchmark::State &state, const std::string &card, const SigningKey &key) {
  TokenThroughHost host(BenchCard::Use(card));
  host.LogIn();
  const auto request = TokenThroughHost::RequestFor(key);
  MeasureOwnTime(state, [&] { host.Sign(request); });
}

}  // namespace

int main(int argc, char **argv) {
  RegisterOwnTime("product", InProcess);
  RegisterOwnTime("product through the socket", ThroughSocket);
  return RunBenchmarks(argc, argv);
}
