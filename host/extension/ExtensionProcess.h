#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/Failure.h"
#include "host/extension/ChildProcess.h"
#include "host/extension/PrintedLines.h"
#include "host/extension/Sandbox.h"
#include "host/terminal/Progress.h"
#include "platform/wire/Client.h"

namespace Host {

/// Receives a line for each request to the extension and one for its outcome; never a PIN.
using Observer = std::function<void(const std::string& line)>;

/// Receives how long each answer took: for the host, and of this for the extension's process.
using Stopwatch =
    std::function<void(const std::string& request, std::chrono::nanoseconds total, std::chrono::nanoseconds extension)>;

/// What an observer is told about an answer.
std::string OutcomeOf(const Wire::Answer<bool>& answer);
std::string OutcomeOf(const Wire::Answer<Wire::Bytes>& answer);
template <class T>
std::string OutcomeOf(const Wire::Answer<T>& answer) {
  return answer ? "done" : Describe(answer.error);
}

/// A request, in the words of everybody who is told of it.
struct Task {
  /// `request` for observers, such as "finishAuth none"; `what` for the user when it fails, such as "login"; `wait` for
  /// the user while it lasts.
  Task(std::string request, std::string what, const char* wait = "Waiting for the card")
      : request(std::move(request)), what(std::move(what)), wait(wait) {}
  /// For a caller who is no user.
  Task(const char* request) : Task(request, request) {}

  std::string request;
  std::string what;
  const char* wait;
};

/// Whether the user is shown what is waited for.
enum class Waiting { Silent, Shown };

/// Whether the extension's process is kept to what its entitlements allow, where the kernel can do that.
enum class Confinement { None, Entitlements };

/// The extension's process: started when it is first asked, and again after it crashed, hung or talked nonsense. Such
/// an end costs the request that met it; tokens and sessions of the ended process are gone. The process ends with the
/// thread that asked when it was started.
class ExtensionProcess {
 public:
  /// `bundle` is NAME.appex with the executable Contents/MacOS/NAME. `timeout` is how long one answer may take, from
  /// its request to its last byte.
  ExtensionProcess(const std::filesystem::path& bundle, std::chrono::milliseconds timeout, Observer observer = {},
                   Confinement confinement = Confinement::None, Stopwatch stopwatch = {},
                   Waiting waiting = Waiting::Silent);

  /// From now on, waiting for an answer ends when `stop` can be read from: then the request fails as cancelled, and the
  /// process is ended.
  void GiveUpAt(int stop) { m_stop = stop; }

  /// Closes the socket and waits until the extension has left; ends it when it does not.
  ~ExtensionProcess();

  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;

  /// Asks with `request`, a function of Wire::Client& that returns an answer.
  /// Throws Failure when the process cannot be started, ends, does not answer in time or is not understood.
  template <class Request>
  auto Ask(const Task& task, Request request) {
    Start();
    return Observed(task, request);
  }

  /// Changes with every start: identifiers of another run mean nothing to this one.
  int Run() const { return m_run; }
  bool IsRunning() const { return m_process && !m_process->EndsWithin(std::chrono::milliseconds(0)); }
  pid_t ProcessId() const { return m_process ? m_process->Id() : 0; }

 private:
  template <class Request>
  auto Observed(const Task& task, Request request) {
    Note("-> " + task.request);
    try {
      m_channel->GiveUpAt(m_stop, m_process->Descriptor());
      Wire::Client client(*m_channel);
      const auto start = std::chrono::steady_clock::now();
      auto answer = Answered(task, request, client);
      if (m_stopwatch) m_stopwatch(task.request, std::chrono::steady_clock::now() - start, m_channel->LastDuration());
      m_printed->Pass();  // before what is said of the answer
      Note("<- " + OutcomeOf(answer));
      return answer;
    } catch (const Wire::ProtocolError& problem) {
      throw Lost(task, problem);
    }
  }

  template <class Request>
  auto Answered(const Task& task, Request request, Wire::Client& client) {
    std::optional<Progress> progress;
    if (m_waiting == Waiting::Shown) progress.emplace(task.wait);
    return request(client);
  }

  void Start();
  void Spawn();
  std::vector<SandboxRule> SandboxRules() const;
  void Greet();
  void Note(const std::string& line) const;
  Failure Lost(const Task& task, const Wire::ProtocolError& problem);
  /// Closes the socket, waits for the end, `patience` long, then forces it. Returns the wait status.
  int End(std::chrono::milliseconds patience);

  std::filesystem::path m_bundle, m_executable;
  std::chrono::milliseconds m_timeout;
  Observer m_observer;
  Stopwatch m_stopwatch;
  Confinement m_confinement;
  Waiting m_waiting;
  std::unique_ptr<PrintedLines> m_printed;
  std::unique_ptr<ChildProcess> m_process;
  std::unique_ptr<Wire::Channel> m_channel;
  int m_stop = -1;
  int m_run = 0;
};

}  // namespace Host
