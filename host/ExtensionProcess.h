#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/Failure.h"
#include "host/Sandbox.h"
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

/// Whether the extension's process is kept to what its entitlements allow, where the kernel can do that.
enum class Confinement { None, Entitlements };

/// The extension's process: started when it is first asked, and again after it crashed, hung or talked nonsense. Such
/// an end costs the request that met it; tokens and sessions of the ended process are gone.
class ExtensionProcess {
 public:
  /// `bundle` is NAME.appex with the executable Contents/MacOS/NAME. `timeout` is how long one answer may take.
  ExtensionProcess(const std::filesystem::path& bundle, std::chrono::milliseconds timeout, Observer observer = {},
                   Confinement confinement = Confinement::None, Stopwatch stopwatch = {});

  /// Closes the socket and waits until the extension has left; ends it when it does not.
  ~ExtensionProcess();

  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;

  /// Asks with `request`, a function of Wire::Client& that returns an answer; `what` names it in messages.
  /// Throws Failure when the process cannot be started, ends, does not answer in time or is not understood.
  template <class Request>
  auto Ask(const std::string& what, Request request) {
    Start();
    return Observed(what, request);
  }

  /// Changes with every start: identifiers of another run mean nothing to this one.
  int Run() const { return m_run; }
  bool IsRunning() const { return m_process > 0; }
  pid_t ProcessId() const { return m_process; }

 private:
  template <class Request>
  auto Observed(const std::string& what, Request request) {
    Note("-> " + what);
    try {
      Wire::Client client(*m_channel);
      const auto start = std::chrono::steady_clock::now();
      auto answer = request(client);
      if (m_stopwatch) m_stopwatch(what, std::chrono::steady_clock::now() - start, m_channel->LastDuration());
      Note("<- " + OutcomeOf(answer));
      return answer;
    } catch (const Wire::ProtocolError& problem) {
      throw Lost(what, problem);
    }
  }

  void Start();
  void Spawn();
  std::vector<SandboxRule> SandboxRules() const;
  void Greet();
  void Note(const std::string& line) const;
  Failure Lost(const std::string& what, const Wire::ProtocolError& problem);
  /// Waits for the end, `patience` long, then forces it. Returns the wait status.
  int End(std::chrono::milliseconds patience);

  std::filesystem::path m_bundle, m_executable;
  std::chrono::milliseconds m_timeout;
  Observer m_observer;
  Stopwatch m_stopwatch;
  Confinement m_confinement;
  std::unique_ptr<Wire::Channel> m_channel;
  pid_t m_process = 0;
  int m_run = 0;
};

}  // namespace Host
