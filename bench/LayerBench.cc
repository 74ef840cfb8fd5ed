// The product alone: every operation of a session on a library that answers at once, beside the same calls made bare.
// What is more than theirs is the product's own. The lock that each operation takes stands in a row of its own.

#include <benchmark/benchmark.h>

#include <thread>

#include "bench/CountedMallocs.h"
#include "bench/LayerCases.h"
#include "bench/Turns.h"
#include "token/EntryLock.h"

namespace {

constexpr int kTurns = 300, kCallsPerTurn = 200;

void Run(benchmark::State& state, const LayerCase& operation) {
  TakeTurns(state, kCallsPerTurn, {{"product", operation.product}, {"bare calls", operation.bare}});
  const size_t before = CountedMallocs();
  operation.product();
  state.counters["allocations"] = static_cast<double>(CountedMallocs() - before);
}

/// What taking the lock of one thread at a time adds to each of the platform's calls, while no other thread wants it.
void TakeEntryLock(benchmark::State& state) {
  std::thread([] {}).join();  // locks are cheaper in a process that never had a second thread
  for (auto _ : state) {
    const EntryLock lock;
    benchmark::ClobberMemory();
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const LayerCase& operation : LayerCases()) {
    const std::string name = operation.name + " on a null library/turns";
    benchmark::RegisterBenchmark(name.c_str(), Run, operation)->Iterations(kTurns);
  }
  benchmark::RegisterBenchmark("lock of one thread at a time/product", TakeEntryLock);
  return RunBenchmarks(argc, argv);
}
