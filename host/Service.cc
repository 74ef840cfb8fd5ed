#include "host/Service.h"

#include <cstdio>

#include "host/Terminal.h"
#include "host/Timing.h"

namespace Host {
namespace {

void TellOnStandardError(const std::string& line) {
  std::fprintf(stderr, "%s\n", line.c_str());
}

double Milliseconds(std::chrono::nanoseconds time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

/// Shows every request's time on standard error, as a table or in JSON, a line each.
Stopwatch TellTimes(bool json) {
  const auto trace = std::make_shared<LibraryTrace>();
  return [trace, json](const std::string& request, std::chrono::nanoseconds total, std::chrono::nanoseconds extension) {
    const RequestTime time{request, Milliseconds(total), Milliseconds(extension), trace->NewCalls()};
    std::fputs((json ? TimingJson(time) : TimingText(time)).c_str(), stderr);
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
