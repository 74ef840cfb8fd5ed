#pragma once

#include <linux/filter.h>

#include <vector>

namespace Host {

/// System calls that no extension needs and that reach what the kernel's Landlock, of whatever version, does not
/// confine: networks; other processes' limits, priorities and memory; owners, modes and times of files; programs that
/// are no files; memory, queues and keys that are shared; namespaces; and new processes, which could outlive this one.
class CallFilter {
 public:
  /// Whether a program is yet to be started, which then refuses to start others, or none is.
  enum class Programs { One, None };
  explicit CallFilter(Programs programs);

  /// From now on those calls fail in the calling thread and in what it starts. Returns whether it took effect. May be
  /// called in a forked child, after privileges were given up for good (PR_SET_NO_NEW_PRIVS).
  bool Enter() const;

 private:
  std::vector<sock_filter> m_instructions;
};

}  // namespace Host
