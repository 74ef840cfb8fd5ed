#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#include "bench/SigningKeys.h"

/// Signs once per iteration and reports, as counters in nanoseconds, the median of the whole ("total") and of what was
/// spent outside the PKCS#11 library ("own"), which the timing forwarder in front of the library tells.
void MeasureOwnTime(benchmark::State& state, const std::function<void()>& sign);

/// Registers `run` for every key of the benchmark cards, as the side of that name.
void RegisterOwnTime(const std::string& side,
                     void (*run)(benchmark::State& state, const std::string& card, const SigningKey& key));

/// The timing forwarder, for those that load a PKCS#11 library by its path.
const char* TimedLibrary();
