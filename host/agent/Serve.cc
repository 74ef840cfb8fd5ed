#include "host/agent/Serve.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "host/Service.h"
#include "host/Signals.h"
#include "host/agent/CardKeys.h"
#include "host/agent/PrivateSocket.h"
#include "host/agent/Server.h"

namespace Host {
void ServeAgent(const Options& options, const AgentArguments& arguments) {
  if (options.pinFile == "-")
    throw Failure(ExitStatus::Usage, "the agent may need the PIN more than once; --pin-file takes a real file here");
  const int stop = SignalDescriptor({SIGINT, SIGTERM, SIGHUP});
  const PrivateSocket socket(arguments.socket);
  ExtensionProcess process = MakeProcess(options);
  PinPrompt prompt(stop);
  CardKeys keys(options, arguments.alwaysAsk ? CardKeys::Login::ForEachSignature : CardKeys::Login::UntilRemoval,
                process, prompt);
  Ssh::Agent agent(keys);
  AgentServer server(socket.Descriptor(), geteuid(), agent);
  std::printf("SSH_AUTH_SOCK='%s'; export SSH_AUTH_SOCK;\n", socket.Path().c_str());
  std::fflush(stdout);
  server.Run(stop, {keys.Descriptors(), [&] { keys.EndGone(); }});
}

}  // namespace Host
