#include "bench/Callgrind.h"

#include <valgrind/callgrind.h>

bool UnderValgrind() {
  return RUNNING_ON_VALGRIND != 0;
}

void CountInstructions(const std::string& name, const std::function<void()>& operation, int warmUps) {
  for (int i = 0; i < warmUps; ++i) operation();
  CALLGRIND_ZERO_STATS;
  CALLGRIND_START_INSTRUMENTATION;
  operation();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
  CALLGRIND_STOP_INSTRUMENTATION;
}

NotCounted::NotCounted() {
  CALLGRIND_TOGGLE_COLLECT;
}

NotCounted::~NotCounted() {
  CALLGRIND_TOGGLE_COLLECT;
}
