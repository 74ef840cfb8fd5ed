#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"
#include "host/commands/FollowedLog.h"

namespace Host {

FollowedProgram::FollowedProgram(const std::vector<std::string>& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  const int result = posix_spawnp(&m_process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  m_output = ends[0];
  if (result == 0) {
    fcntl(m_output, F_SETFL, O_NONBLOCK);
    return;
  }
  close(m_output);
  throw Failure(ExitStatus::Failed, command[0] + " cannot be started: " + std::strerror(result));
}

FollowedProgram::~FollowedProgram() {
  if (m_output >= 0) close(m_output);
  kill(m_process, SIGTERM);
  waitpid(m_process, nullptr, 0);
}

std::vector<std::string> FollowedProgram::NewLines() {
  std::string text;
  char buffer[16384];
  ssize_t got = -1;
  while (m_output >= 0 && (got = read(m_output, buffer, sizeof buffer)) > 0)
    text.append(buffer, static_cast<size_t>(got));
  if (got == 0) {
    close(m_output);
    m_output = -1;
  }
  return m_lines.Add(text);
}

}  // namespace Host
