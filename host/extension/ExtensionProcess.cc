#include "host/extension/ExtensionProcess.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/base/Words.h"
#include "host/extension/ExtensionEnvironment.h"
#include "host/extension/Sandbox.h"

namespace Host {
namespace {

using std::chrono::milliseconds;

constexpr int kExtensionSocket = 3;
constexpr milliseconds kPatienceAtEnd{5000};
constexpr milliseconds kPatienceAfterCrash{500};
constexpr char kTryAgain[] = "; try again, and if it fails again, show a help desk what 'ctkhost support' prints";

/// What a program is started with.
struct Program {
  std::string path;
  std::vector<std::string> arguments, environment;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Two ends that no program inherits. Throws Failure.
std::pair<int, int> MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
  return {ends[0], ends[1]};
}

/// Gives this process nothing to read, `output` for both outputs, `socket` and no other descriptor but `report`, whose
/// new number is returned; a program does not inherit that.
int ArrangeDescriptors(int socket, int output, int report) {
  const int highSocket = fcntl(socket, F_DUPFD, kExtensionSocket + 2);
  const int highReport = fcntl(report, F_DUPFD, kExtensionSocket + 2);
  const int null = open("/dev/null", O_RDONLY);
  dup2(output, STDOUT_FILENO);
  dup2(STDOUT_FILENO, STDERR_FILENO);
  dup2(null, STDIN_FILENO);
  dup2(highSocket, kExtensionSocket);
  const int reporting = dup3(highReport, kExtensionSocket + 1, O_CLOEXEC);
  close_range(static_cast<unsigned>(reporting) + 1, ~0U, 0);
  return reporting;
}

/// Starts `program` with `socket`, printing to `output`, within `sandbox` unless that is null. Throws Failure, or
/// returns the error number when it was not started.
int StartProgram(Program program, int socket, int output, const Sandbox* sandbox,
                 std::unique_ptr<ChildProcess>* started) {
  const std::vector<char*> arguments = Pointers(program.arguments), environment = Pointers(program.environment);
  const auto [reported, report] = MakePipe();
  *started = std::make_unique<ChildProcess>([&, report = report] {
    int reason = sandbox && !sandbox->Enter() ? EPERM : 0;
    const int reporting = ArrangeDescriptors(socket, output, report);
    if (reason == 0) {
      execve(program.path.c_str(), arguments.data(), environment.data());
      reason = errno;
    }
    return write(reporting, &reason, sizeof reason) > 0 ? 1 : 2;
  });
  close(report);
  int reason = 0;
  ssize_t got = -1;
  do got = read(reported, &reason, sizeof reason);
  while (got < 0 && errno == EINTR);
  close(reported);
  return got == static_cast<ssize_t>(sizeof reason) ? reason : 0;
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
  return answer ? Counted(answer->size(), "byte") : Describe(answer.error);
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
  if (m_process) End(kPatienceAtEnd);
}

void ExtensionProcess::Note(const std::string& line) const {
  if (m_observer) m_observer(line);
}

void ExtensionProcess::Start() {
  if (IsRunning()) return;
  // One that died between two requests costs none.
  if (m_process) Note("the extension " + EndOf(End(milliseconds(0))));
  Spawn();
  ++m_run;
  Note("started the extension, process " + std::to_string(m_process->Id()));
  Greet();
}

void ExtensionProcess::Spawn() {
  const std::vector<SandboxRule> rules = SandboxRules();
  const auto sandbox = rules.empty() ? nullptr : std::make_unique<Sandbox>(rules);
  m_printed = std::make_unique<PrintedLines>();
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
    throw Failure(ExitStatus::Failed, std::string("no socket for the extension: ") + std::strerror(errno));
  m_channel = std::make_unique<Wire::Channel>(sockets[0], m_timeout);

  // What an extension prints for diagnosis goes to the system's log there, not into the host's messages.
  const char* const onStandardError = std::getenv("QEL_OS_LOG_STDERR");
  const char* const toSystem = onStandardError && std::strcmp(onStandardError, "1") == 0 ? "NO" : "YES";
  const std::string program = m_executable.string();
  const std::string socket = "--host-socket=" + std::to_string(kExtensionSocket);
  std::vector<std::string> arguments = {program, socket, "-GSLogSyslog", toSystem};
  if (sandbox) arguments.emplace_back("--run-nothing");
  const int result = StartProgram({program, arguments, ExtensionEnvironment()}, sockets[1], m_printed->Descriptor(),
                                  sandbox.get(), &m_process);
  m_printed->CloseDescriptor();
  close(sockets[1]);
  if (result == 0) return;
  End(milliseconds(0));
  throw Failure(ExitStatus::Failed, "the extension cannot be started: " + program + ": " + std::strerror(result) +
                                        "; build it, or name its bundle with --extension");
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
  if (rules.empty()) return {};
  Note("sandbox: no network, and no process or program but its own");
  for (const std::string& gap : Sandbox::Gaps()) Note("sandbox: this kernel cannot keep it from " + gap);
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
  if (problem.kind() == Kind::TooLong)
    return {ExitStatus::Failed, task.what + std::string(" failed: the data is too long (") + problem.what() + ")"};
  if (problem.kind() == Kind::TimedOut) {
    End(milliseconds(0));
    text = "the extension did not answer within " + InWords(m_timeout) + " and was ended";
    advice = "; try again, with a longer --timeout if the card needs it";
  } else if (problem.kind() == Kind::Stopped) {
    End(kPatienceAfterCrash);
    Note("<- stopped");
    return {ExitStatus::Cancelled, task.what + " was stopped, and the extension with it"};
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
  const int status = m_process->End(patience);
  m_process.reset();
  m_printed.reset();
  return status;
}

}  // namespace Host
