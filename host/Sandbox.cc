#include "host/Sandbox.h"

#include <QELBuildConstants.h>
#include <fcntl.h>
#include <linux/landlock.h>
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

#include "host/ExtensionSettings.h"
#include "host/Failure.h"
#include "softcard/State.h"

namespace Host {
namespace {

namespace fs = std::filesystem;
using Access = SandboxRule::Access;

constexpr char kException[] = "com.apple.security.temporary-exception.files.";
constexpr char kLibrary[] = "/Library/";

// What every version of Landlock knows; opening and changing files is what is tried out here.
constexpr uint64_t kRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr uint64_t kAll = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
constexpr uint64_t kOfFiles = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_FILE;

uint64_t RightsOf(Access access) {
  switch (access) {
    case Access::Read:
      return kRead;
    case Access::ReadAndRun:
      return kRead | LANDLOCK_ACCESS_FS_EXECUTE;
    case Access::Change:
      break;
  }
  return kAll & ~LANDLOCK_ACCESS_FS_EXECUTE;
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
  attributes.allowed_access = RightsOf(rule.access) & (S_ISDIR(status.st_mode) ? kAll : kOfFiles);
  const long result = syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &attributes, 0);
  const int reason = errno;
  close(place);
  if (result != 0)
    throw Failure(ExitStatus::Failed, "no sandbox rule for " + rule.path.string() + ": " + std::strerror(reason));
}

/// What is not there cannot be excepted, so a trace that is yet to be written is made here.
void AddTrace(const std::string& file, std::vector<SandboxRule>* rules) {
  if (file.empty()) return;
  const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (made >= 0) close(made);
  rules->push_back({file, Access::Change});
}

void AddSoftCard(std::vector<SandboxRule>* rules) {
  const fs::path folder = SoftCard::StateDirectory();
  SoftCard::State state;
  try {
    state = SoftCard::Load(folder);
  } catch (const std::runtime_error& problem) {
    throw Failure(ExitStatus::NoToken, std::string("the soft cards are not known: ") + problem.what());
  }
  rules->push_back({folder, Access::Change});
  // A bare name is looked up where libraries are, which may be read anyway.
  if (fs::path(state.library).is_absolute()) rules->push_back({state.library, Access::Read});
  AddTrace(state.trace, rules);
  const char* trace = std::getenv("QEL_SOFTCARD_TRACE");
  AddTrace(trace ? trace : "", rules);
}

}  // namespace

std::string Describe(const SandboxRule& rule) {
  const char* const verb = rule.access == Access::Read         ? "may read "
                           : rule.access == Access::ReadAndRun ? "may read and run "
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
  std::vector<SandboxRule> rules = {{bundle, Access::ReadAndRun}, {"/dev/null", Access::Change}};
  for (const char* path : {"/usr", "/lib", "/lib64", "/bin"}) rules.push_back({path, Access::ReadAndRun});
  for (const char* path : {"/etc", "/proc", "/dev/urandom"}) rules.push_back({path, Access::Read});
  const passwd* user = getpwuid(getuid());
  for (const fs::path& path : ReadOnlyExceptions(text, QEL_LIBRARY_DIR, user ? user->pw_dir : ""))
    rules.push_back({path, Access::Read});
  rules.push_back({TokenLogPath().parent_path(), Access::Change});
  AddSoftCard(&rules);
  // A build that measures coverage writes what it counted when it ends.
  if (const char* profiles = std::getenv("LLVM_PROFILE_FILE"))
    rules.push_back({fs::path(profiles).parent_path(), Access::Change});
  return rules;
}

Sandbox::Sandbox(const std::vector<SandboxRule>& rules) {
  landlock_ruleset_attr attributes = {};
  attributes.handled_access_fs = kAll;
  m_rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0));
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
  return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

bool Sandbox::Enter() const {
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && syscall(SYS_landlock_restrict_self, m_rules, 0) == 0;
}

}  // namespace Host
