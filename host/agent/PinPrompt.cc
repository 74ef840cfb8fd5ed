#include "host/agent/PinPrompt.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "host/Failure.h"
#include "host/PinSource.h"

namespace Host {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::minutes kPatience{2};

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Whether there is a terminal and this program may read from it now.
bool IsAtTerminal() {
  const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0) return false;
  const bool inFront = tcgetpgrp(terminal) == getpgrp();
  close(terminal);
  return inFront;
}

/// The program to ask with; empty: the terminal.
std::string AskingProgram() {
  const std::string program = Variable("SSH_ASKPASS");
  const std::string require = Variable("SSH_ASKPASS_REQUIRE");
  if (require == "never") return "";
  return require == "force" || require == "prefer" || !IsAtTerminal() ? program : "";
}

Failure Cancelled(const std::string& why) {
  return {ExitStatus::Cancelled, "PIN entry was cancelled" + why};
}

Failure TooLong() {
  return {ExitStatus::Failed, "what SSH_ASKPASS printed is too long for a PIN"};
}

/// A program whose output is read. Ended, if it has not left, when this goes.
class OutputOf {
 public:
  OutputOf(const std::string& program, const std::string& argument) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
    m_output = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    const char* arguments[] = {program.c_str(), argument.c_str(), nullptr};
    const int result =
        posix_spawnp(&m_process, program.c_str(), &actions, nullptr, const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (result == 0) return;
    close(m_output);
    throw Failure(ExitStatus::Failed, "SSH_ASKPASS cannot be run: " + program + ": " + std::strerror(result));
  }

  ~OutputOf() {
    if (m_process > 0) kill(m_process, SIGKILL);
    WaitForEnd();
    close(m_output);
  }

  OutputOf(const OutputOf&) = delete;
  OutputOf& operator=(const OutputOf&) = delete;

  int Descriptor() const { return m_output; }

  bool Succeeded() {
    const int status = WaitForEnd();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

 private:
  int WaitForEnd() {
    int status = 0;
    while (m_process > 0 && waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = 0;
    return status;
  }

  pid_t m_process = 0;
  int m_output = -1;
};

}  // namespace

Wire::Attachment PinPrompt::Ask(const std::string& prompt) const {
  const std::string whole = m_purpose + ", " + prompt;
  const std::string program = AskingProgram();
  if (!program.empty()) return AskWithProgram(program, whole);
  if (!IsAtTerminal())
    throw Failure(ExitStatus::Failed, "nowhere to ask for the PIN: set SSH_ASKPASS, or start the agent at a terminal");
  return AskOnTerminal(whole);
}

Wire::Attachment PinPrompt::AskWithProgram(const std::string& program, const std::string& prompt) const {
  OutputOf asking(program, prompt);
  Wire::Attachment pin(kLongestPin + 3);  // for the line's end, and to see that there is more
  const size_t length = Collect(asking.Descriptor(), pin);
  // One that has more to say would wait for a reader for ever.
  if (length == pin.size()) throw TooLong();
  if (!asking.Succeeded()) throw Cancelled("");
  const uint8_t* end = std::find_if(pin.data(), pin.data() + length, [](uint8_t c) { return c == '\n' || c == '\r'; });
  pin.Shorten(static_cast<size_t>(end - pin.data()));
  if (pin.size() > kLongestPin) throw TooLong();
  return pin;
}

size_t PinPrompt::Collect(int descriptor, Wire::Attachment& pin) const {
  const auto deadline = steady_clock::now() + kPatience;
  size_t length = 0;
  while (length < pin.size()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
    pollfd waited[] = {{m_stop, POLLIN, 0}, {descriptor, POLLIN, 0}};
    const int ready = left > 0 ? poll(waited, 2, static_cast<int>(left)) : 0;
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) throw Cancelled(": nobody answered for two minutes");
    if (waited[0].revents != 0) throw Cancelled(": the agent ends");
    const ssize_t got = read(descriptor, pin.data() + length, pin.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Failure(ExitStatus::Failed, std::string("SSH_ASKPASS failed: ") + std::strerror(errno));
    if (got == 0) break;
    length += static_cast<size_t>(got);
  }
  return length;
}

}  // namespace Host
