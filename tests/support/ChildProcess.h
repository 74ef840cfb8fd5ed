#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// What a child process left behind. `exitStatus` is empty when a signal ended it.
struct ChildResult {
  std::optional<int> exitStatus;
  std::string output;
  std::string errors;
};

/// Changes to this process's environment for a child; nullopt removes a variable.
using ChildEnvironment = std::map<std::string, std::optional<std::string>>;

/// Runs `program` with `arguments` until it ends and collects what it writes.
ChildResult RunChild(const std::string& program, const std::vector<std::string>& arguments,
                     const ChildEnvironment& environment = {});

/// A program that runs beside the test: ended with this object, and by the system when the test's process ends without
/// that. Its output and errors go to one file.
class BackgroundChild {
 public:
  /// Throws std::runtime_error when it cannot be started.
  BackgroundChild(const std::string& program, const std::vector<std::string>& arguments,
                  const ChildEnvironment& environment, std::string log);
  ~BackgroundChild() { Stop(); }
  BackgroundChild(const BackgroundChild&) = delete;
  BackgroundChild& operator=(const BackgroundChild&) = delete;

  pid_t ProcessId() const { return m_process; }
  /// What it has written so far.
  std::string Log() const;
  /// Waits, half a minute at most, until it has written `text`. Returns false when it did not or ended before.
  bool WaitFor(const std::string& text);
  /// Asks it to end and, when it does not within ten seconds, ends it. Returns its exit status; nothing for a signal.
  std::optional<int> Stop();

 private:
  /// Whether it ended within `seconds`; nothing is left of it then.
  bool EndedWithin(double seconds);

  std::string m_log;
  pid_t m_process = 0;
  std::optional<int> m_exitStatus;
};
