#pragma once

#include <memory>

#include "tests/host/agent/CardAgent.h"

/// OpenSSH's server on a free port of the loopback address, for the current user and with host keys of its own. Keeps
/// its files in the card's folder.
class SshServer {
 public:
  /// Lets the keys in the file `authorizedKeys` in. Throws std::runtime_error when it does not come up.
  SshServer(const RealCard& card, const std::string& authorizedKeys);

  /// Runs `command` there with the keys of `agent`.
  ChildResult Run(const CardAgent& agent, const std::string& command, const std::vector<std::string>& options) const;
  std::string Log() const { return m_process->Log(); }

 private:
  const RealCard& m_card;
  int m_port = 0;
  std::unique_ptr<BackgroundChild> m_process;
};
