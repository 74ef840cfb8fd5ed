#include "bench/Turns.h"

#include <algorithm>

double Now(Clock clock) {
  timespec now{};
  clock_gettime(static_cast<clockid_t>(clock), &now);
  return 1e9 * static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec);
}

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<long>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void TakeTurns(benchmark::State& state, int calls, const std::vector<Side>& sides, Clock clock) {
  for (const Side& side : sides) side.call();  // what is loaded or cached once is so for every turn
  const auto timed = [&](const Side& side) {
    const double start = Now(clock);
    for (int call = 0; call < calls; ++call) side.call();
    return (Now(clock) - start) / calls;
  };
  std::vector<std::vector<double>> times(sides.size()), ratios(sides.size()), extras(sides.size());
  std::vector<double> calibration;
  for (auto _ : state) {
    std::vector<double> turn;
    for (const Side& side : sides) turn.push_back(timed(side));
    if (sides.size() > 1) calibration.push_back(timed(sides[1]) / turn[1]);
    for (size_t side = 0; side < sides.size(); ++side) {
      times[side].push_back(turn[side]);
      ratios[side].push_back(turn[0] / turn[side]);
      extras[side].push_back(turn[0] - turn[side]);
    }
  }
  if (!calibration.empty()) state.counters["calibration"] = Median(calibration);
  for (size_t side = 0; side < sides.size(); ++side) {
    state.counters["ns/" + sides[side].name] = Median(times[side]);
    if (side == 0) continue;
    state.counters["ratio/" + sides[side].name] = Median(ratios[side]);
    state.counters["extra/" + sides[side].name] = Median(extras[side]);
  }
}

int RunBenchmarks(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
