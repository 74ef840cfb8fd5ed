#include "bench/OwnTime.h"

#include "bench/BenchCard.h"
#include "bench/LibraryClock.h"
#include "bench/Turns.h"

namespace {

constexpr int kSignatures = 200;

}  // namespace

void MeasureOwnTime(benchmark::State& state, const std::function<void()>& sign) {
  LibraryClock* const clock = LibraryClock::Map();
  sign();
  if (clock == nullptr || clock->calls == 0) {
    state.SkipWithError("the library's time is not counted; script/bench sets QEL_BENCH_CLOCK");
    return;
  }
  const double cost = LibraryClock::CostOfCounting();
  std::vector<double> own, total;
  for (auto _ : state) {
    const uint64_t inside = clock->nanoseconds, calls = clock->calls;
    const uint64_t start = MonotonicNow();
    sign();
    const uint64_t whole = MonotonicNow() - start;
    total.push_back(static_cast<double>(whole));
    const double counting = cost * static_cast<double>(clock->calls - calls);
    own.push_back(static_cast<double>(whole - (clock->nanoseconds - inside)) - counting);
  }
  state.counters["own"] = Median(own);
  state.counters["total"] = Median(total);
}

const char* TimedLibrary() {
  return QEL_BENCH_TIMED_LIBRARY;
}

void RegisterOwnTime(const std::string& side,
                     void (*run)(benchmark::State& state, const std::string& card, const SigningKey& key)) {
  const auto add = [&](const char* card, const std::vector<SigningKey>& keys, const std::string& where) {
    for (const SigningKey& key : keys) {
      const std::string name = "own time of a " + key.name + " signature" + where + "/" + side;
      benchmark::RegisterBenchmark(name.c_str(), run, card, key)->Iterations(kSignatures);
    }
  };
  add(BenchCard::kMain, MainKeys(), "");
  add(BenchCard::kSixObjects, SmallKeys(), " among 6 objects");
  add(BenchCard::kTwoHundredSixObjects, SmallKeys(), " among 206 objects");
}
