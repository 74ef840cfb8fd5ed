#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Host {

/// A program that runs with an agent of its own, in the same terminal and process group.
class ServedCommand {
 public:
  /// Starts `words`, the first of which is looked for in PATH, with SSH_AUTH_SOCK and SSH_AGENT_PID for the agent at
  /// `socket` in this process. Throws Failure when it cannot be started.
  ServedCommand(const std::vector<std::string>& words, const std::string& socket);
  ~ServedCommand();
  ServedCommand(const ServedCommand&) = delete;
  ServedCommand& operator=(const ServedCommand&) = delete;

  /// Readable once it has ended.
  int Descriptor() const { return m_descriptor; }

  /// Asks it to end, unless it has.
  void Terminate();

  /// Waits for its end. Returns its exit status; 128 and the number of the signal that ended it, as shells do.
  int Wait();

 private:
  pid_t m_process = 0;  ///< 0: it has been waited for
  int m_descriptor = -1;
};

}  // namespace Host
