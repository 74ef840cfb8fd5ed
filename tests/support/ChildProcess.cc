#include "tests/support/ChildProcess.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>

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

  int output[2];
  int errors[2];
  if (pipe(output) != 0 || pipe(errors) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
  for (const int end : {output[0], output[1], errors[0], errors[1]}) posix_spawn_file_actions_addclose(&actions, end);

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
