#include "host/ExtensionProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "host/ExtensionEnvironment.h"
#include "host/Sandbox.h"

namespace Host {
namespace {

using std::chrono::milliseconds;

constexpr int kExtensionSocket = 3;
constexpr milliseconds kPatienceAtEnd{5000};
constexpr milliseconds kPatienceAfterCrash{500};
constexpr char kTryAgain[] = "; try again, and if it fails again, show a help desk what 'ctkhost support' prints";

/// What the child gets: nothing to read, the host's standard error for both outputs, the socket, no other descriptor.
class ChildDescriptors {
 public:
  explicit ChildDescriptors(int socket) {
    posix_spawn_file_actions_init(&m_actions);
    posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&m_actions, STDERR_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&m_actions, socket, kExtensionSocket);
    posix_spawn_file_actions_addclosefrom_np(&m_actions, kExtensionSocket + 1);
  }
  ~ChildDescriptors() { posix_spawn_file_actions_destroy(&m_actions); }
  ChildDescriptors(const ChildDescriptors&) = delete;
  ChildDescriptors& operator=(const ChildDescriptors&) = delete;
  const posix_spawn_file_actions_t* Actions() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions;
};

/// Whether the child ended within `patience`; `status` is then its wait status.
bool EndedWithin(pid_t process, milliseconds patience, int* status) {
  constexpr milliseconds kStep{2};
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (waitpid(process, status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(kStep);
  }
  return true;
}

/// The result of `spawn`, done in a thread of its own: what confines that thread confines what it starts, and nobody
/// else.
int Confined(const std::vector<SandboxRule>& rules, const std::function<int()>& spawn) {
  const Sandbox sandbox(rules);
  int result = EPERM;
  std::thread([&] { result = sandbox.Enter() ? spawn() : EPERM; }).join();
  return result;
}

std::string InWords(milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  if (seconds != time) return std::to_string(time.count()) + " ms";
  return std::to_string(seconds.count()) + (seconds.count() == 1 ? " second" : " seconds");
}

std::string EndOf(int status) {
  if (WIFSIGNALED(status))
    return "was ended by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

std::string OutcomeOf(const Wire::Answer<bool>& answer) {
  return answer ? (*answer ? "yes" : "no") : Describe(answer.error);
}

std::string OutcomeOf(const Wire::Answer<Wire::Bytes>& answer) {
  return answer ? std::to_string(answer->size()) + " bytes" : Describe(answer.error);
}

ExtensionProcess::ExtensionProcess(const std::filesystem::path& bundle, milliseconds timeout, Observer observer,
                                   Confinement confinement, Stopwatch stopwatch, Waiting waiting)
    : m_bundle(bundle.has_filename() ? bundle : bundle.parent_path()),
      m_executable(m_bundle / "Contents/MacOS" / m_bundle.stem()),
      m_timeout(timeout),
      m_observer(std::move(observer)),
      m_stopwatch(std::move(stopwatch)),
      m_confinement(confinement),
      m_waiting(waiting) {}

ExtensionProcess::~ExtensionProcess() {
  if (IsRunning()) End(kPatienceAtEnd);
}

void ExtensionProcess::Note(const std::string& line) const {
  if (m_observer) m_observer(line);
}

void ExtensionProcess::Start() {
  int status = 0;
  // One that died between two requests costs none.
  if (IsRunning() && waitpid(m_process, &status, WNOHANG) == m_process) {
    Note("the extension " + EndOf(status));
    m_channel.reset();
    m_process = 0;
  }
  if (IsRunning()) return;
  Spawn();
  ++m_run;
  Note("started the extension, process " + std::to_string(m_process));
  Greet();
}

void ExtensionProcess::Spawn() {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
    throw Failure(ExitStatus::Failed, std::string("no socket for the extension: ") + std::strerror(errno));
  m_channel = std::make_unique<Wire::Channel>(sockets[0], m_timeout);

  // What an extension prints for diagnosis goes to the system's log there, not into the host's messages.
  const std::string program = m_executable.string();
  const std::string socket = "--host-socket=" + std::to_string(kExtensionSocket);
  const char* arguments[] = {program.c_str(), socket.c_str(), "-GSLogSyslog", "YES", nullptr};
  std::vector<std::string> variables = ExtensionEnvironment();
  std::vector<char*> environment;
  for (std::string& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  const ChildDescriptors descriptors(sockets[1]);
  const auto spawn = [&] {
    return posix_spawn(&m_process, program.c_str(), descriptors.Actions(), nullptr, const_cast<char* const*>(arguments),
                       environment.data());
  };
  const std::vector<SandboxRule> rules = SandboxRules();
  const int result = rules.empty() ? spawn() : Confined(rules, spawn);
  close(sockets[1]);
  if (result != 0) {
    m_channel.reset();
    m_process = 0;
    throw Failure(ExitStatus::Failed, "the extension cannot be started: " + program + ": " + std::strerror(result) +
                                          "; build it, or name its bundle with --extension");
  }
}

/// The rules in force; none when the extension is not kept to any. Observers are told which, or why none.
std::vector<SandboxRule> ExtensionProcess::SandboxRules() const {
  if (m_confinement == Confinement::None) return {};
  std::vector<SandboxRule> rules = RulesFor(m_bundle);
  if (rules.empty()) Note("no sandbox: the bundle has no entitlements");
  if (!rules.empty() && !Sandbox::IsAvailable()) {
    Note("no sandbox: this kernel has no Landlock");
    return {};
  }
  for (const SandboxRule& rule : rules) Note("sandbox: " + Describe(rule));
  return rules;
}

void ExtensionProcess::Greet() {
  const auto greeting = Observed({"hello", "starting the extension", "Starting the extension"},
                                 [](Wire::Client& client) { return client.Hello(); });
  if (greeting && greeting->version == Wire::ProtocolVersion) return;
  End(kPatienceAfterCrash);
  throw Failure(ExitStatus::Failed, greeting ? "the extension was built for another host; build both again"
                                             : "the extension refused the greeting (" + Describe(greeting.error) + ")");
}

Failure ExtensionProcess::Lost(const Task& task, const Wire::ProtocolError& problem) {
  using Kind = Wire::ProtocolError::Kind;
  std::string text, advice = kTryAgain;
  if (problem.kind() == Kind::TimedOut) {
    End(milliseconds(0));
    text = "the extension did not answer within " + InWords(m_timeout) + " and was ended";
    advice = "; try again, with a longer --timeout if the card needs it";
  } else if (problem.kind() == Kind::Closed || problem.kind() == Kind::Truncated) {
    text = "the extension " + EndOf(End(kPatienceAfterCrash));
  } else {
    End(milliseconds(0));
    text = std::string("the extension's answer is not understood (") + problem.what() + ") and it was ended";
  }
  Note("<- " + text);
  return {ExitStatus::Failed, task.what + " failed: " + text + advice};
}

int ExtensionProcess::End(milliseconds patience) {
  m_channel.reset();
  int status = 0;
  if (!EndedWithin(m_process, patience, &status)) {
    kill(m_process, SIGKILL);
    waitpid(m_process, &status, 0);
  }
  m_process = 0;
  return status;
}

}  // namespace Host
