/// What the extension's process may reach: what its entitlements say, tried out with Landlock and a filter of system
/// calls.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/extension/CallFilter.h"

namespace Host {

/// A file or folder, with all below it.
struct SandboxRule {
  enum class Access {
    Read,
    ReadAndRun,
    Write,   ///< one file, which is there: neither emptied nor removed
    Change,  ///< files and folders are made, written and removed there; no links and nothing that runs
  };
  std::filesystem::path path;
  Access access;
};

/// "may read and run /usr/bin/true".
std::string Describe(const SandboxRule& rule);

/// The paths that the entitlements in the property list `text` except from the sandbox for reading. Absolute ones below
/// /Library stand below `library`, those relative to the user's home below `home`.
std::vector<std::filesystem::path> ReadOnlyExceptions(const std::string& text, const std::filesystem::path& library,
                                                      const std::filesystem::path& home);

/// The rules for the extension in `bundle`: its exceptions, itself, the system's libraries, the token log and what the
/// soft card keeps. Empty for a bundle without entitlements. Nothing that the extension may change has a say in them.
/// Files that it may write and that are not there yet are made. Throws Failure when the soft cards are not known.
std::vector<SandboxRule> RulesFor(const std::filesystem::path& bundle);

/// A set of rules that a thread can put itself under, and what it starts. Beside the files, it keeps them from
/// networks, from signals to, abstract sockets of and the memory of others, from new processes, and from privileges.
class Sandbox {
 public:
  using Programs = CallFilter::Programs;
  /// Rules for paths that do not exist have no effect. Throws Failure when the kernel refuses the set.
  explicit Sandbox(const std::vector<SandboxRule>& rules, Programs programs = Programs::One);
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// Whether this kernel has Landlock.
  static bool IsAvailable();

  /// What this kernel's version of Landlock cannot keep a process from: "emptying files", a line each.
  static std::vector<std::string> Gaps();
  /// The same for a version.
  static std::vector<std::string> GapsOf(long version);

  /// From now on, for the calling thread and its children, nothing else can be reached. Returns whether it took effect.
  /// May be called in a forked child.
  bool Enter() const;

 private:
  CallFilter m_calls;
  int m_rules = -1;
};

}  // namespace Host
