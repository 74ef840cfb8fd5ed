// The product alone: every operation of a session on a library that answers at once, beside the same calls made bare.
// What is more than theirs is the product's own.

#include <benchmark/benchmark.h>

#include "bench/CountedMallocs.h"
#include "bench/LayerCases.h"
#include "bench/Turns.h"

namespace {

constexpr int kTurns = 300, kCallsPerTurn = 200;

void Run(benchmark::State& state, const LayerCase& operation) {
  TakeTurns(state, kCallsPerTurn, {{"product", operation.product}, {"bare calls", operation.bare}});
  const size_t before = CountedMallocs();
  operation.product();
  state.counters["allocations"] = static_cast<double>(CountedMallocs() - before);
}

}  // namespace

int main(int argc, char** argv) {
  for (const LayerCase& operation : LayerCases()) {
    const std::string name = operation.name + " on a null library/turns";
    benchmark::RegisterBenchmark(name.c_str(), Run, operation)->Iterations(kTurns);
  }
  return RunBenchmarks(argc, argv);
}
