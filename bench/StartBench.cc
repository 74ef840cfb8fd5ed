// From the start of the extension's process to the published items, and its end.

#include "bench/BenchCard.h"
#include "bench/TokenThroughHost.h"
#include "bench/Turns.h"

namespace {

constexpr int kStarts = 20;

void Start(benchmark::State& state) {
  const std::string reader = BenchCard::Use(BenchCard::kMain);
  TakeTurns(state, 1,
            {{"product",
              [&] {
                if (TokenThroughHost(reader).Items() != 8) std::abort();
              }}},
            Clock::Wall);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("start of the extension to published items and its end/turns", Start)
      ->Iterations(kStarts);
  return RunBenchmarks(argc, argv);
}
