#include "tests/macprobe/Check.h"
#include "tests/macprobe/Throwing.h"

namespace probe {

namespace {

std::string CaughtBehindObjectiveC() {
  bool destroyed = false;
  try {
    ThrowThroughObjectiveC(&destroyed);
  } catch (const Thrown& thrown) {
    return thrown.value == 7 && destroyed ? "caught, destructors run" : "caught";
  }
  return "lost";
}

}  // namespace

std::vector<Check> ExceptionChecks() {
  return {
      {"exceptions.cpp-through-objective-c", "caught, destructors run", nullptr,
       "every failure of a card would end the extension's process", CaughtBehindObjectiveC},
      {"exceptions.nsexception-runs-destructors", "yes", nullptr, "a lock or buffer would be kept after an NSException",
       +[] { return std::string(RaiseAcrossADestructor() ? "yes" : "no"); }},
  };
}

}  // namespace probe
