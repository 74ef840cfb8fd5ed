#include "host/extension/Sandbox.h"

#include <QELBuildConstants.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <linux/securebits.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "host/base/Failure.h"
#include "host/extension/Landlock.h"
#include "report/ExtensionSettings.h"
#include "softcard/state/RealLibrary.h"
#include "softcard/state/State.h"
#include "softcard/state/Tries.h"

namespace Host {
namespace {

namespace fs = std::filesystem;
using Access = SandboxRule::Access;

constexpr char kException[] = "com.apple.security.temporary-exception.files.";
constexpr char kLibrary[] = "/Library/";

constexpr uint64_t kRead = Landlock::kReadFile | Landlock::kReadFolder;
constexpr uint64_t kWrite = Landlock::kReadFile | Landlock::kWriteFile;
constexpr uint64_t kChange = kRead | kWrite | Landlock::kTruncate | Landlock::kRemoveFile | Landlock::kRemoveFolder |
                             Landlock::kMakeFile | Landlock::kMakeFolder | Landlock::kMakePipe;
constexpr uint64_t kOfFiles = Landlock::kExecute | Landlock::kWriteFile | Landlock::kReadFile | Landlock::kTruncate;

uint64_t RightsOf(Access access) {
  switch (access) {
    case Access::Read:
      return kRead;
    case Access::ReadAndRun:
      return kRead | Landlock::kExecute;
    case Access::Write:
      return kWrite;
    case Access::Change:
      break;
  }
  return kChange;
}

/// The version of Landlock that this kernel has; 0 or less: none.
long Version() {
  return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
}

/// The strings of the array that follows <key>`key`</key>.
std::vector<std::string> StringsOf(const std::string& text, const std::string& key) {
  const std::string open = "<string>", close = "</string>";
  std::vector<std::string> strings;
  const size_t start = text.find("<key>" + key + "</key>");
  const size_t end = text.find("</array>", start);
  for (size_t at = text.find(open, start); at < end; at = text.find(open, at)) {
    at += open.size();
    strings.push_back(text.substr(at, text.find(close, at) - at));
  }
  return strings;
}

void AddRule(int rules, const SandboxRule& rule) {
  const int place = open(rule.path.c_str(), O_PATH | O_CLOEXEC);
  if (place < 0) return;
  struct stat status = {};
  fstat(place, &status);
  landlock_path_beneath_attr attributes = {};
  attributes.parent_fd = place;
  attributes.allowed_access =
      RightsOf(rule.access) & Landlock::FileRights(Version()) & (S_ISDIR(status.st_mode) ? ~uint64_t{0} : kOfFiles);
  const long result = syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &attributes, 0);
  const int reason = errno;
  close(place);
  if (result != 0)
    throw Failure(ExitStatus::Failed, "no sandbox rule for " + rule.path.string() + ": " + std::strerror(reason));
}

/// For good, whatever the user's are: an administrator's extension is no administrator.
bool GiveUpPrivileges() {
  constexpr unsigned long kUserIsNobody = SECBIT_NOROOT | SECBIT_NOROOT_LOCKED;
  prctl(PR_SET_SECUREBITS, kUserIsNobody, 0, 0, 0);  // refused to who has no privileges
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && syscall(SYS_capset, &header, none) == 0;
}

/// What is not there cannot be excepted, so a file that is yet to be written is made here.
void AddWritten(const fs::path& file, std::vector<SandboxRule>* rules, mode_t mode = 0600) {
  if (file.empty()) return;
  const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, mode);
  if (made >= 0) close(made);
  rules->push_back({file, Access::Write});
}

void AddSoftCard(std::vector<SandboxRule>* rules) {
  const fs::path folder = SoftCard::StateDirectory();
  SoftCard::State state;
  try {
    state = SoftCard::Load(folder);
    if (!state.cards.empty()) {
      SoftCard::MakePrivateDirectory(SoftCard::LiveDirectory(folder));
      SoftCard::PrepareTokenStore(folder);
    }
  } catch (const std::runtime_error& problem) {
    throw Failure(ExitStatus::NoToken, std::string("the soft cards are not known: ") + problem.what());
  }
  // The state says which files may be reached, so it is only read here. What changes with use stands beside it.
  rules->push_back({folder, Access::Read});
  for (const fs::path& changed : {SoftCard::LiveDirectory(folder), folder / "tokens", folder / "nss"})
    rules->push_back({changed, Access::Change});
  AddWritten(folder / "pin-dialog.log", rules);
  // A bare name is looked up where libraries are, which may be read anyway.
  if (fs::path(state.library).is_absolute()) rules->push_back({state.library, Access::Read});
  AddWritten(state.trace, rules);
  const char* trace = std::getenv("QEL_SOFTCARD_TRACE");
  AddWritten(trace ? trace : "", rules);
}

/// The log, where it is there or the settings, which the extension cannot write, ask for it.
void AddTokenLog(std::vector<SandboxRule>* rules) {
  const fs::path log = Report::TokenLogPath();
  std::error_code ignored;
  if (Report::ReadExtensionSettings().IsTokenLogOn()) {
    AddWritten(log, rules, 0666);  // less the user's mask, as the extension itself would make it
  } else if (fs::exists(log, ignored)) {
    rules->push_back({log, Access::Write});
  }
}

}  // namespace

std::string Describe(const SandboxRule& rule) {
  const char* const verb = rule.access == Access::Read         ? "may read "
                           : rule.access == Access::ReadAndRun ? "may read and run "
                           : rule.access == Access::Write      ? "may write "
                                                               : "may change ";
  return verb + rule.path.string();
}

std::vector<fs::path> ReadOnlyExceptions(const std::string& text, const fs::path& library, const fs::path& home) {
  std::vector<fs::path> paths;
  for (const std::string& path : StringsOf(text, std::string(kException) + "absolute-path.read-only")) {
    const bool isLibrary = path.rfind(kLibrary, 0) == 0;
    paths.push_back(isLibrary ? library / path.substr(std::strlen(kLibrary)) : fs::path(path));
  }
  for (const std::string& path : StringsOf(text, std::string(kException) + "home-relative-path.read-only"))
    paths.push_back(home / fs::path(path).relative_path());
  return paths;
}

std::vector<SandboxRule> RulesFor(const fs::path& bundle) {
  std::ifstream file(bundle / "Contents/Extension.entitlements");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (text.empty()) return {};
  std::vector<SandboxRule> rules = {{bundle, Access::Read}, {"/dev/null", Access::Write}};
  // What runs is the extension alone; the system starts it with one of these, or it brings what starts it.
  rules.push_back({bundle / "Contents/MacOS", Access::ReadAndRun});
  for (const char* loader : {"/lib64/ld-linux-x86-64.so.2", "/lib/ld-linux-aarch64.so.1"})
    rules.push_back({loader, Access::ReadAndRun});
  for (const char* path : {"/usr", "/lib", "/lib64", "/bin", "/etc", "/proc", "/dev/urandom"})
    rules.push_back({path, Access::Read});
  const passwd* user = getpwuid(getuid());
  for (const fs::path& path : ReadOnlyExceptions(text, QEL_IN_LIBRARY(""), user ? user->pw_dir : ""))
    rules.push_back({path, Access::Read});
  AddTokenLog(&rules);
  AddSoftCard(&rules);
  // A build that measures coverage writes what it counted when it ends.
  if (const char* profiles = std::getenv("LLVM_PROFILE_FILE"))
    rules.push_back({fs::path(profiles).parent_path(), Access::Change});
  return rules;
}

Sandbox::Sandbox(const std::vector<SandboxRule>& rules, Programs programs) : m_calls(programs) {
  const long version = Version();
  const Landlock::Ruleset handled = {Landlock::FileRights(version), Landlock::NetworkRights(version),
                                     Landlock::Scopes(version)};
  // Older kernels take the longer structure when what they do not know is zero.
  m_rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
  if (m_rules < 0) throw Failure(ExitStatus::Failed, std::string("no sandbox: ") + std::strerror(errno));
  try {
    for (const SandboxRule& rule : rules) AddRule(m_rules, rule);
  } catch (const Failure&) {
    close(m_rules);
    throw;
  }
}

Sandbox::~Sandbox() {
  close(m_rules);
}

bool Sandbox::IsAvailable() {
  return Version() > 0;
}

std::vector<std::string> Sandbox::Gaps() {
  return GapsOf(Version());
}

std::vector<std::string> Sandbox::GapsOf(long version) {
  std::vector<std::string> gaps;
  if (version < 3) gaps.emplace_back("emptying files that it may not write");
  if (version < 5) gaps.emplace_back("steering devices that it may open");
  if (version < 6) gaps.emplace_back("signals to other processes, and their abstract sockets");
  gaps.emplace_back("local sockets with a path, through which it reaches the smart-card service");
  return gaps;
}

bool Sandbox::Enter() const {
  return GiveUpPrivileges() && m_calls.Enter() && syscall(SYS_landlock_restrict_self, m_rules, 0) == 0;
}

}  // namespace Host
