#include "host/agent/ServedCommand.h"

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"
#include "host/base/ProcessDescriptor.h"

namespace Host {

ServedCommand::ServedCommand(const std::vector<std::string>& words, const std::string& socket) {
  setenv("SSH_AUTH_SOCK", socket.c_str(), 1);
  setenv("SSH_AGENT_PID", std::to_string(getpid()).c_str(), 1);
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const int result = posix_spawnp(&m_process, arguments[0], nullptr, nullptr, arguments.data(), environ);
  if (result != 0) throw Failure(ExitStatus::Failed, words[0] + " cannot be started: " + std::strerror(result));
  m_descriptor = ProcessDescriptor(m_process);
  if (m_descriptor >= 0) return;
  const int reason = errno;
  Terminate();
  Wait();
  throw Failure(ExitStatus::Failed, std::string("no descriptor for a process: ") + std::strerror(reason));
}

ServedCommand::~ServedCommand() {
  Terminate();
  Wait();
  close(m_descriptor);
}

void ServedCommand::Terminate() {
  if (m_process > 0) kill(m_process, SIGTERM);
}

int ServedCommand::Wait() {
  int status = 0;
  if (m_process == 0) return 0;
  while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
  }
  m_process = 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace Host
