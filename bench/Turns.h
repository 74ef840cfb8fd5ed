#pragma once

#include <benchmark/benchmark.h>
#include <ctime>

#include <functional>
#include <string>
#include <vector>

/// One of several ways to do the same thing.
struct Side {
  std::string name;
  std::function<void()> call;
};

/// What a turn's time is: the thread's processor time, which other programs disturb little, or the wall clock's, for
/// work that is done in several processes.
enum class Clock { Processor = CLOCK_THREAD_CPUTIME_ID, Wall = CLOCK_MONOTONIC };

/// Nanoseconds of that clock.
double Now(Clock clock);

/// The middle of `values`, 0 when there are none.
double Median(std::vector<double> values);

/// Lets the sides take turns (A B A B ...) for the benchmark's iterations, `calls` calls a turn. Reports, as counters,
/// the median time of a call ("ns/SIDE") and, for each side but the first, the median of the turns' ratios of the first
/// to it ("ratio/SIDE") and of the differences in nanoseconds a call ("extra/SIDE"). The second side has two turns each
/// time; the median of the ratios of its second to its first ("calibration") is 1 but for what cannot be measured here.
void TakeTurns(benchmark::State& state, int calls, const std::vector<Side>& sides, Clock clock = Clock::Processor);

/// Runs the benchmarks that main() registered. Those that use Objective-C cannot be registered before it.
int RunBenchmarks(int argc, char** argv);
