/// What the extension's process may reach in the file system: what its entitlements say, tried out with Landlock.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Host {

/// A file or folder, with all below it.
struct SandboxRule {
  enum class Access { Read, ReadAndRun, Change };
  std::filesystem::path path;
  Access access;
};

/// "may read and run /usr".
std::string Describe(const SandboxRule& rule);

/// The paths that the entitlements in the property list `text` except from the sandbox for reading. Absolute ones below
/// /Library stand below `library`, those relative to the user's home below `home`.
std::vector<std::filesystem::path> ReadOnlyExceptions(const std::string& text, const std::filesystem::path& library,
                                                      const std::filesystem::path& home);

/// The rules for the extension in `bundle`: its exceptions, itself, the system's programs and libraries, the token
/// log's folder and what the soft card keeps. Empty for a bundle without entitlements.
std::vector<SandboxRule> RulesFor(const std::filesystem::path& bundle);

/// A set of rules that a thread can put itself under, and what it starts.
class Sandbox {
 public:
  /// Rules for paths that do not exist have no effect. Throws Failure when the kernel refuses the set.
  explicit Sandbox(const std::vector<SandboxRule>& rules);
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// Whether this kernel has Landlock.
  static bool IsAvailable();

  /// From now on, for the calling thread and its children, nothing else can be opened or changed. Returns whether it
  /// took effect.
  bool Enter() const;

 private:
  int m_rules = -1;
};

}  // namespace Host
