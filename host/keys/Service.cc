#include "host/keys/Service.h"

#include <cstdio>
#include <memory>

#include "host/extension/Timing.h"
#include "host/terminal/Terminal.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

void TellOnStandardError(const std::string& line) {
  std::fprintf(stderr, "%s\n", ForTerminal(line, std::string::npos).c_str());
}

double Milliseconds(std::chrono::nanoseconds time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

/// Shows every request's time on standard error, as a table or in JSON, a line each; below the tables their total.
class Times {
 public:
  explicit Times(bool json) : m_json(json) {}
  ~Times() {
    if (!m_json) std::fputs(TimingTotal(m_requests, m_total).c_str(), stderr);
  }
  Times(const Times&) = delete;
  Times& operator=(const Times&) = delete;

  void Tell(const RequestTime& time) {
    ++m_requests;
    m_total += time.total;
    std::fputs((m_json ? TimingJson(time) : TimingText(time)).c_str(), stderr);
  }

  LibraryTrace trace;

 private:
  bool m_json;
  size_t m_requests = 0;
  double m_total = 0;
};

Stopwatch TellTimes(bool json) {
  const auto times = std::make_shared<Times>(json);
  return [times](const std::string& request, std::chrono::nanoseconds total, std::chrono::nanoseconds extension) {
    times->Tell({request, Milliseconds(total), Milliseconds(extension), times->trace.NewCalls()});
  };
}

}  // namespace

ExtensionProcess MakeProcess(const Options& options, Waiting waiting) {
  return ExtensionProcess(options.extension, options.timeout, options.verbose ? TellOnStandardError : Observer(),
                          options.sandbox ? Confinement::Entitlements : Confinement::None,
                          options.timing ? TellTimes(options.json) : Stopwatch(),
                          Progress::IsPossible() ? waiting : Waiting::Silent);
}

std::vector<Reader> ChosenReaders(const Options& options) {
  std::vector<Reader> chosen;
  for (Reader& reader : Readers())
    if (options.reader.empty() || reader.name == options.reader) chosen.push_back(std::move(reader));
  if (!chosen.empty()) return chosen;
  if (!options.reader.empty())
    throw Failure(ExitStatus::NoToken,
                  "no reader is called '" + options.reader + "'; 'ctkhost readers' shows the readers");
  const std::string problem = ServiceProblem();
  throw Failure(ExitStatus::NoToken,
                "no reader" + (problem.empty() ? "; plug one in" : ": " + problem) + ", or " + kMakeSoftReader);
}

CardTokens OpenTokens(const Options& options, ExtensionProcess& process) {
  CardTokens tokens;
  std::vector<Failure> failures;
  for (const Reader& reader : ChosenReaders(options)) {
    if (!reader.hasCard) continue;
    try {
      tokens.push_back(std::make_unique<CardToken>(process, reader.name));
    } catch (const Failure& failure) {
      failures.push_back(failure);
    }
  }
  if (tokens.empty() && failures.empty())
    throw Failure(ExitStatus::NoToken,
                  (options.reader.empty() ? "no card in any reader" : "no card in \"" + options.reader + "\"") +
                      "; put one in ('softcard insert CARD' for a soft one)");
  if (tokens.empty()) throw failures.front();
  for (const Failure& failure : failures) TellUser(failure.what());
  return tokens;
}

}  // namespace Host
