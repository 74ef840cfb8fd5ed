#include "tests/support/RunningProgram.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace {

[[noreturn]] void Become(const std::string& program, const std::vector<std::string>& arguments,
                         const ChildEnvironment& environment) {
  for (const auto& [name, value] : environment)
    value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  execv(program.c_str(), pointers.data());
  _exit(127);
}

}  // namespace

RunningProgram::RunningProgram(const std::string& program, const std::vector<std::string>& arguments,
                               const ChildEnvironment& environment, Output output) {
  if (access(program.c_str(), X_OK) != 0) throw std::runtime_error(program + " is no program");
  if (output == Output::Terminal) {
    winsize size = {};
    size.ws_col = 80;
    size.ws_row = 24;
    m_process = forkpty(&m_output, nullptr, nullptr, &size);
    if (m_process == 0) Become(program, arguments, environment);
    return;
  }
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket pair");
  m_process = fork();
  if (m_process == 0) {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(ends[1], descriptor);
    Become(program, arguments, environment);
  }
  close(ends[1]);
  m_output = ends[0];
}

RunningProgram::~RunningProgram() {
  if (m_process > 0) {
    kill(m_process, SIGKILL);
    Wait();
  }
  close(m_output);
}

bool RunningProgram::ReadMore(std::chrono::steady_clock::time_point deadline) {
  using std::chrono::milliseconds;
  const auto left = std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
  pollfd waiting = {m_output, POLLIN, 0};
  if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) <= 0) return false;
  char buffer[4096];
  const ssize_t got = read(m_output, buffer, sizeof buffer);
  if (got > 0) m_printed.append(buffer, static_cast<size_t>(got));
  return got > 0;
}

bool RunningProgram::Prints(const std::string& text, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  size_t at = std::string::npos;
  while ((at = m_printed.find(text, m_waitedFor)) == std::string::npos)
    if (!ReadMore(deadline)) return false;
  m_waitedFor = at + text.size();
  return true;
}

void RunningProgram::Type(const std::string& text) {
  if (write(m_output, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("the program reads nothing");
}

void RunningProgram::Signal(int number) {
  kill(m_process, number);
}

void RunningProgram::Resize(unsigned short columns, unsigned short rows) {
  winsize size = {};
  size.ws_col = columns;
  size.ws_row = rows;
  if (ioctl(m_output, TIOCSWINSZ, &size) != 0) throw std::runtime_error("no terminal");
}

bool RunningProgram::Echoes() const {
  termios settings = {};
  if (tcgetattr(m_output, &settings) != 0) throw std::runtime_error("no terminal");
  return (settings.c_lflag & ECHO) != 0;
}

std::optional<int> RunningProgram::Wait() {
  while (ReadMore(std::chrono::steady_clock::now() + std::chrono::seconds(20))) {
  }
  int status = 0;
  waitpid(m_process, &status, 0);
  m_process = 0;
  return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}
