#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>

namespace Host {

/// A process of this program's own, and what that starts: ended together.
class ChildProcess {
 public:
  /// Forks, and ends the new process with the status that `work` returns there. It leads a process group of its own, so
  /// that what is typed at the terminal reaches nobody but this program; it ends when the thread that made it does, and
  /// leaves no core. Where this program has several threads, `work` may do only what a signal handler may.
  /// Throws Failure when there is no process to be had.
  explicit ChildProcess(const std::function<int()>& work);

  /// Ends it at once.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t Id() const { return m_id; }
  /// Readable once the process has ended.
  int Descriptor() const { return m_descriptor; }

  /// Whether it ended by itself within `patience`.
  bool EndsWithin(std::chrono::milliseconds patience) const;

  /// Waits for its end, `patience` long, then forces it; what it started and left is ended as well.
  /// Returns the wait status, also when asked again.
  int End(std::chrono::milliseconds patience);

 private:
  pid_t m_id;
  int m_descriptor = -1;
  int m_status = 0;
  bool m_ended = false;
};

}  // namespace Host
