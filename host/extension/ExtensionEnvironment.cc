#include "host/extension/ExtensionEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace Host {
namespace {

// Who the user is and their language; then what cards and libraries beneath are directed by; then what tests and
// sanitizers put around a program.
constexpr const char* kNames[] = {"HOME",           "USER",
                                  "LOGNAME",        "PATH",
                                  "TMPDIR",         "TZ",
                                  "LANG",           "XDG_STATE_HOME",
                                  "SOFTHSM2_CONF",  "LD_PRELOAD",
                                  "FAKE_EXTENSION", "ASAN_OPTIONS",
                                  "LSAN_OPTIONS",   "UBSAN_OPTIONS",
                                  "TSAN_OPTIONS",   "LLVM_PROFILE_FILE"};
constexpr const char* kPrefixes[] = {"LC_", "QEL_", "GNUSTEP_", "NSS_", "PCSCLITE_"};

// A folder instead of a file: GNUstep then takes what it was built with. Since version 1.31 the file that Debian
// installs lets it start a shell, a script and a compiler to learn where libraries are. The sandbox refuses that, and
// GNUstep does not survive the refusal.
constexpr char kConfigurationFile[] = "GNUSTEP_CONFIG_FILE";
constexpr char kConfigurationFolder[] = "/etc/GNUstep/";

// A function that is looked up when it is first called finds the registers saved on the stack, and in them what was
// copied last: a part of a PIN.
constexpr char kEarlyLookup[] = "LD_BIND_NOW=1";

bool IsForExtension(const std::string& variable) {
  const std::string name = variable.substr(0, variable.find('='));
  return name != kConfigurationFile && (std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames) ||
                                        std::any_of(std::begin(kPrefixes), std::end(kPrefixes),
                                                    [&](const char* prefix) { return name.rfind(prefix, 0) == 0; }));
}

}  // namespace

std::vector<std::string> ExtensionEnvironment() {
  std::vector<std::string> variables = {std::string(kConfigurationFile) + "=" + kConfigurationFolder, kEarlyLookup};
  for (char** variable = environ; *variable; ++variable)
    if (IsForExtension(*variable)) variables.emplace_back(*variable);
  return variables;
}

}  // namespace Host
