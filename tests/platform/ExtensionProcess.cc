#include "tests/platform/ExtensionProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

ExtensionProcess::ExtensionProcess(const std::string& executable, const std::string& option) {
  int ends[2];
  int pipes[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  EXPECT_EQ(pipe2(pipes, O_CLOEXEC), 0);
  fcntl(ends[0], F_SETFD, FD_CLOEXEC);
  const std::string argument = option + std::to_string(ends[1]);
  m_pid = fork();
  if (m_pid == 0) {
    dup2(pipes[1], STDERR_FILENO);
    execl(executable.c_str(), executable.c_str(), argument.c_str(), nullptr);
    _exit(127);
  }
  EXPECT_GT(m_pid, 0);
  close(ends[1]);
  close(pipes[1]);
  m_errorPipe = pipes[0];
  m_socket = ends[0];
  m_channel = std::make_unique<Wire::Channel>(m_socket, std::chrono::seconds(20));
}

ExtensionProcess::~ExtensionProcess() {
  End();
}

int ExtensionProcess::End() {
  if (m_pid < 0) {
    return 0;
  }
  m_channel.reset();
  char buffer[4096];
  for (ssize_t got; (got = read(m_errorPipe, buffer, sizeof buffer)) > 0;) {
    m_errors.append(buffer, static_cast<size_t>(got));
  }
  close(m_errorPipe);
  int status = 0;
  EXPECT_EQ(waitpid(m_pid, &status, 0), m_pid);
  m_pid = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
