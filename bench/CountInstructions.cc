// Runs under callgrind and makes it write what each operation of the product on the null library takes: a profile per
// operation, under the operation's name. tests/bench_counts reads them.

#include <valgrind/callgrind.h>

#include "bench/LayerCases.h"

namespace {

constexpr int kWarmUps = 20;

void Count(const LayerCase& operation) {
  for (int i = 0; i < kWarmUps; ++i) operation.product();
  CALLGRIND_ZERO_STATS;
  CALLGRIND_START_INSTRUMENTATION;
  operation.product();
  CALLGRIND_DUMP_STATS_AT(operation.name.c_str());
  CALLGRIND_STOP_INSTRUMENTATION;
}

}  // namespace

int main() {
  for (const LayerCase& operation : LayerCases()) Count(operation);
}
