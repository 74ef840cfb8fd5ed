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
#include <iterator>
#include <optional>

#include "host/base/Failure.h"
#include "host/base/ProcessDescriptor.h"
#include "host/base/Words.h"
#include "host/terminal/TerminalQuestion.h"

namespace Host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// The program to ask with; empty: the terminal.
std::string AskingProgram() {
  const std::string program = Variable("SSH_ASKPASS");
  const std::string require = Variable("SSH_ASKPASS_REQUIRE");
  if (require == "never") return "";
  return require == "force" || require == "prefer" || !IsInForeground() ? program : "";
}

Failure Cancelled(const std::string& why) {
  return {ExitStatus::Cancelled, "PIN entry was cancelled" + why};
}

Failure TooLong() {
  return {ExitStatus::Failed, "what SSH_ASKPASS printed is too long for a PIN"};
}

/// A program that asks for a PIN and prints it, in a process group of its own. Ended, if it has not left, with this.
class AskingProcess {
 public:
  AskingProcess(const std::string& program, const std::string& argument) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
    m_output = ends[0];
    fcntl(m_output, F_SETFL, O_NONBLOCK);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const char* arguments[] = {program.c_str(), argument.c_str(), nullptr};
    const int result =
        posix_spawnp(&m_process, program.c_str(), &actions, &attributes, const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_descriptor = result == 0 ? ProcessDescriptor(m_process) : -1;
    if (m_descriptor >= 0) return;
    const std::string reason = std::strerror(result == 0 ? errno : result);
    End();
    throw Failure(ExitStatus::Failed, "SSH_ASKPASS cannot be run: " + program + ": " + reason);
  }

  ~AskingProcess() { End(); }
  AskingProcess(const AskingProcess&) = delete;
  AskingProcess& operator=(const AskingProcess&) = delete;

  int Output() const { return m_output; }
  /// Readable once it has ended.
  int Descriptor() const { return m_descriptor; }

  /// Whether it ended by itself and said that it failed.
  bool Failed() const { return m_status && *m_status != 0; }

  /// Whether it has ended by itself.
  bool HasEnded() {
    int status = 0;
    if (m_process > 0 && waitpid(m_process, &status, WNOHANG) == m_process) {
      m_status = status;
      m_process = 0;
    }
    return m_process == 0;
  }

 private:
  void End() {
    if (!HasEnded()) {
      kill(-m_process, SIGKILL);
      while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
      }
      m_process = 0;
    }
    for (const int descriptor : {m_output, m_descriptor})
      if (descriptor >= 0) close(descriptor);
  }

  pid_t m_process = 0;
  std::optional<int> m_status;
  int m_output = -1;
  int m_descriptor = -1;
};

/// Collects what a program prints, as long as somebody may wait for it.
class Collector {
 public:
  Collector(int stop, milliseconds patience)
      : m_stop(stop), m_patience(patience), m_deadline(steady_clock::now() + patience) {}

  /// Fills `pin` until the program closes its output or ends; others who hold the output are not waited for. Returns
  /// the length. Throws Failure.
  size_t Collect(AskingProcess& asking, Wire::Attachment& pin) const {
    size_t length = 0;
    while (length < pin.size()) {
      const bool ended = asking.HasEnded();  // before reading: nothing of it comes after this
      const ssize_t got = read(asking.Output(), pin.data() + length, pin.size() - length);
      if (got > 0) {
        length += static_cast<size_t>(got);
      } else if (got == 0 || (ended && errno == EAGAIN)) {
        break;
      } else if (errno == EAGAIN) {
        Wait(asking.Output(), asking.Descriptor(), m_deadline);
      } else if (errno != EINTR) {
        throw Failure(ExitStatus::Failed, std::string("SSH_ASKPASS failed: ") + std::strerror(errno));
      }
    }
    return length;
  }

  /// Gives a program that has closed its output a moment to end, and to say how it went.
  void WaitForEnd(AskingProcess& asking) const {
    const auto deadline = std::min(m_deadline, steady_clock::now() + kMomentToLeave);
    while (!asking.HasEnded() && steady_clock::now() < deadline) Poll(-1, asking.Descriptor(), deadline);
  }

 private:
  static constexpr milliseconds kMomentToLeave{500};

  /// Returns false when the time was over.
  bool Poll(int output, int process, steady_clock::time_point deadline) const {
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
    pollfd waited[] = {{m_stop, POLLIN, 0}, {output, POLLIN, 0}, {process, POLLIN, 0}};
    const int ready = left > 0 ? poll(waited, std::size(waited), static_cast<int>(left)) : 0;
    if (ready > 0 && waited[0].revents != 0) throw Cancelled(": the agent ends");
    return ready != 0;
  }

  void Wait(int output, int process, steady_clock::time_point deadline) const {
    if (!Poll(output, process, deadline)) throw Cancelled(": nobody answered for " + InWords(m_patience));
  }

  int m_stop;
  milliseconds m_patience;
  steady_clock::time_point m_deadline;
};

}  // namespace

Wire::Attachment PinPrompt::Ask(const std::string& prompt) const {
  const std::string whole = m_purpose + ", " + prompt;
  const std::string program = AskingProgram();
  if (!program.empty()) return AskWithProgram(program, whole);
  if (!IsInForeground())
    throw Failure(ExitStatus::Failed,
                  "nowhere to ask for the PIN: set SSH_ASKPASS, or start the agent in a terminal of its own");
  return AskOnTerminal(whole, {m_stop, m_patience, false});
}

Wire::Attachment PinPrompt::AskWithProgram(const std::string& program, const std::string& prompt) const {
  AskingProcess asking(program, prompt);
  const Collector collector(m_stop, m_patience);
  Wire::Attachment pin(kLongestPin + 3);  // for the line's end, and to see that there is more
  const size_t length = collector.Collect(asking, pin);
  // One that has more to say would wait for a reader for ever.
  if (length == pin.size()) throw TooLong();
  collector.WaitForEnd(asking);
  if (asking.Failed()) throw Cancelled("");
  const uint8_t* end = std::find_if(pin.data(), pin.data() + length, [](uint8_t c) { return c == '\n' || c == '\r'; });
  pin.Shorten(static_cast<size_t>(end - pin.data()));
  if (pin.size() > kLongestPin) throw TooLong();
  if (pin.empty()) throw Cancelled(": no PIN was typed, so none was tried");
  return pin;
}

}  // namespace Host
