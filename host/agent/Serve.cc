#include "host/agent/Serve.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/Service.h"
#include "host/agent/CardKeys.h"
#include "host/agent/PrivateSocket.h"
#include "host/agent/Server.h"

namespace Host {
namespace {

int g_stopPipe[2] = {-1, -1};

extern "C" void OnStopSignal(int) {
  const int reason = errno;
  [[maybe_unused]] const ssize_t written = write(g_stopPipe[1], "", 1);
  errno = reason;
}

/// The descriptor that can be read from once one of the signals came that end the agent.
int StopDescriptor() {
  if (pipe2(g_stopPipe, O_CLOEXEC | O_NONBLOCK) != 0)
    throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
  struct sigaction action = {};
  action.sa_handler = OnStopSignal;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
  return g_stopPipe[0];
}

}  // namespace

void ServeAgent(const Options& options, const AgentArguments& arguments) {
  if (options.pinFile == "-")
    throw Failure(ExitStatus::Usage, "the agent may need the PIN more than once; --pin-file takes a real file here");
  const int stop = StopDescriptor();
  const PrivateSocket socket(arguments.socket);
  ExtensionProcess process = MakeProcess(options);
  PinPrompt prompt(stop);
  CardKeys keys(options, arguments.alwaysAsk ? CardKeys::Login::ForEachSignature : CardKeys::Login::UntilRemoval,
                process, prompt);
  Ssh::Agent agent(keys);
  AgentServer server(socket.Descriptor(), geteuid(), agent);
  std::printf("SSH_AUTH_SOCK='%s'; export SSH_AUTH_SOCK;\n", socket.Path().c_str());
  std::fflush(stdout);
  server.Run(stop);
}

}  // namespace Host
