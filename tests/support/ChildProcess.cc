#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern "C" char** environ;  // not every system's header declares it

namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> EnvironmentWith(const ChildEnvironment& changes) {
  std::vector<std::string> result;
  for (char** variable = environ; *variable; ++variable) {
    const std::string text = *variable;
    if (changes.count(text.substr(0, text.find('='))) == 0) result.push_back(text);
  }
  for (const auto& [name, value] : changes) {
    if (value) result.push_back(name + "=" + *value);
  }
  return result;
}

/// A pipe that no program inherits: one that another thread starts meanwhile, and that lives longer, would keep it
/// open.
std::array<int, 2> Pipe() {
  std::array<int, 2> ends{};
#ifdef __linux__
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
#else
  if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
#endif
  return ends;
}

void ReadBoth(int output, int errors, ChildResult& result) {
  std::array<pollfd, 2> ends{{{output, POLLIN, 0}, {errors, POLLIN, 0}}};
  while (ends[0].fd >= 0 || ends[1].fd >= 0) {
    poll(ends.data(), ends.size(), -1);
    for (pollfd& end : ends) {
      if (end.fd < 0 || end.revents == 0) continue;
      char buffer[4096];
      const ssize_t size = read(end.fd, buffer, sizeof(buffer));
      if (size > 0) {
        (&end == &ends[0] ? result.output : result.errors).append(buffer, static_cast<size_t>(size));
      } else {
        close(end.fd);
        end.fd = -1;
      }
    }
  }
}

}  // namespace

ChildResult RunChild(const std::string& program, const std::vector<std::string>& arguments,
                     const ChildEnvironment& environment) {
  std::vector<std::string> command{program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = EnvironmentWith(environment);

  const auto output = Pipe(), errors = Pipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);

  pid_t child = 0;
  const int failure =
      posix_spawn(&child, program.c_str(), &actions, nullptr, Pointers(command).data(), Pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  close(output[1]);
  close(errors[1]);
  ChildResult result;
  ReadBoth(output[0], errors[0], result);
  if (failure != 0) throw std::runtime_error(program + ": " + std::strerror(failure));

  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  return result;
}

BackgroundChild::BackgroundChild(const std::string& program, const std::vector<std::string>& arguments,
                                 const ChildEnvironment& environment, std::string log)
    : m_log(std::move(log)) {
  std::vector<std::string> command{program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = EnvironmentWith(environment);
  const std::vector<char*> argumentPointers = Pointers(command);
  const std::vector<char*> variablePointers = Pointers(variables);
  const int written = open(m_log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (written < 0 || nothing < 0) throw std::runtime_error(m_log + ": " + std::strerror(errno));
  m_process = fork();
  if (m_process == 0) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
    dup2(nothing, STDIN_FILENO);
    dup2(written, STDOUT_FILENO);
    dup2(written, STDERR_FILENO);
    execve(program.c_str(), argumentPointers.data(), variablePointers.data());
    _exit(127);
  }
  close(written);
  close(nothing);
  if (m_process < 0) throw std::runtime_error(program + ": " + std::strerror(errno));
}

std::string BackgroundChild::Log() const {
  std::ostringstream text;
  text << std::ifstream(m_log, std::ios::binary).rdbuf();
  return text.str();
}

bool BackgroundChild::WaitFor(const std::string& text) {
  constexpr int kTurns = 30 * 100;
  for (int turn = 0; turn < kTurns; ++turn) {
    if (Log().find(text) != std::string::npos) return true;
    if (EndedWithin(0.01)) return false;
  }
  return false;
}

bool BackgroundChild::EndedWithin(double seconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  int status = 0;
  while (m_process > 0 && waitpid(m_process, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (m_process > 0 && WIFEXITED(status)) m_exitStatus = WEXITSTATUS(status);
  m_process = 0;
  return true;
}

std::optional<int> BackgroundChild::Stop() {
  if (m_process > 0) kill(m_process, SIGTERM);
  if (!EndedWithin(10)) {
    kill(m_process, SIGKILL);
    EndedWithin(10);
  }
  return m_exitStatus;
}
