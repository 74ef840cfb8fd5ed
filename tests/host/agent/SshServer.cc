#include "tests/host/agent/SshServer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace {

/// A port that nobody listens at; somebody may before it is used.
int FreePort() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool found = bind(probe, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                     getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(probe);
  if (!found) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

}  // namespace

SshServer::SshServer(const RealCard& card, const std::string& authorizedKeys) : m_card(card) {
  // The server, started by root, wants this folder; the system's own service makes it in the same way.
  if (geteuid() == 0) mkdir("/run/sshd", 0755);
  const ChildResult made = RunChild(QEL_SSH_KEYGEN, {"-q", "-t", "ed25519", "-N", "", "-f", card.Path("hostkey")});
  if (made.exitStatus != 0) throw std::runtime_error("ssh-keygen: " + made.errors);
  constexpr int kAttempts = 5;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    m_port = FreePort();
    card.Write("sshd_config", "ListenAddress 127.0.0.1\nPort " + std::to_string(m_port) + "\nHostKey " +
                                  card.Path("hostkey") + "\nAuthorizedKeysFile " + authorizedKeys +
                                  "\nPidFile none\nStrictModes no\nUsePAM no\nPasswordAuthentication no\n"
                                  "KbdInteractiveAuthentication no\nPermitRootLogin prohibit-password\n"
                                  "LogLevel DEBUG3\n");
    m_process = std::make_unique<BackgroundChild>(QEL_SSHD,
                                                  std::vector<std::string>{"-D", "-e", "-f", card.Path("sshd_config")},
                                                  ChildEnvironment{}, card.Path("sshd.log"));
    if (m_process->WaitFor("Server listening on 127.0.0.1")) return;
  }
  throw std::runtime_error("sshd did not come up: " + Log());
}

ChildResult SshServer::Run(const CardAgent& agent, const std::string& command,
                           const std::vector<std::string>& options) const {
  std::vector<std::string> arguments = {"-n", "-F", "none", "-p", std::to_string(m_port)};
  for (const std::string& option :
       {std::string("BatchMode=yes"), std::string("ConnectTimeout=30"), std::string("IdentityFile=none"),
        std::string("StrictHostKeyChecking=no"), "UserKnownHostsFile=" + m_card.Path("known_hosts"),
        std::string("GlobalKnownHostsFile=none"), std::string("PreferredAuthentications=publickey")})
    arguments.insert(arguments.end(), {"-o", option});
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"127.0.0.1", command});
  return agent.Run(QEL_SSH, arguments);
}
