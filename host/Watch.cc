#include <cstdio>
#include <map>

#include "host/Commands.h"
#include "host/ReaderMonitor.h"
#include "host/Service.h"

namespace Host {
namespace {

void Tell(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/// One reader: the token of its card, and which insertion the token stands for.
class WatchedReader {
 public:
  void Follow(ExtensionProcess& process, const Reader& reader) {
    const unsigned long insertion = reader.hasCard ? reader.insertions : 0;
    if (insertion == m_insertion) return;
    m_insertion = insertion;
    try {
      Remove();
      if (insertion != 0) Insert(process, reader.name);
    } catch (const Failure& failure) {
      Tell("failed " + std::string(failure.what()));
    }
  }

 private:
  void Insert(ExtensionProcess& process, const std::string& reader) {
    m_token = std::make_unique<CardToken>(process, reader);
    Tell("token " + m_token->InstanceID() + " of " + std::to_string(m_token->Items().size()) + " items in " + reader);
  }

  void Remove() {
    const std::unique_ptr<CardToken> token = std::move(m_token);
    if (!token) return;
    token->Terminate();
    Tell("ended " + token->InstanceID());
  }

  std::unique_ptr<CardToken> m_token;
  unsigned long m_insertion = 0;
};

}  // namespace

void Watch(const Options& options) {
  ExtensionProcess process = MakeProcess(options);
  std::map<std::string, WatchedReader> watched;
  ReaderMonitor monitor;
  Tell("watching");
  std::string problem;
  while (true) {
    std::map<std::string, Reader> present;
    for (const auto& [name, reader] : watched) present[name] = {name, false, 0};  // unplugged, unless named below
    const ServiceReaders found = monitor.Readers();
    if (found.problem != problem) Tell("service " + (found.problem.empty() ? "answers" : found.problem));
    problem = found.problem;
    for (const Reader& reader : found.readers)
      if (options.reader.empty() || reader.name == options.reader) present[reader.name] = reader;
    for (const auto& [name, reader] : present) watched[name].Follow(process, reader);
    monitor.Wait();
  }
}

}  // namespace Host
