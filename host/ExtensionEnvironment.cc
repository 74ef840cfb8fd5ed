#include "host/ExtensionEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace Host {
namespace {

// Who the user is and their language; then what cards and libraries beneath are directed by; then what tests and
// sanitizers put around a program.
constexpr const char* kNames[] = {"HOME",         "USER",         "LOGNAME",       "PATH",         "TMPDIR",
                                  "TZ",           "LANG",         "SOFTHSM2_CONF", "LD_PRELOAD",   "FAKE_EXTENSION",
                                  "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LLVM_PROFILE_FILE"};
constexpr const char* kPrefixes[] = {"LC_", "QEL_", "GNUSTEP_", "NSS_", "PCSCLITE_"};

bool IsForExtension(const std::string& variable) {
  const std::string name = variable.substr(0, variable.find('='));
  return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames) ||
         std::any_of(std::begin(kPrefixes), std::end(kPrefixes),
                     [&](const char* prefix) { return name.rfind(prefix, 0) == 0; });
}

}  // namespace

std::vector<std::string> ExtensionEnvironment() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable; ++variable)
    if (IsForExtension(*variable)) variables.emplace_back(*variable);
  return variables;
}

}  // namespace Host
