#include "host/agent/Serve.h"

#include <signal.h>
#include <unistd.h>

#include "host/agent/CardKeys.h"
#include "host/agent/Server.h"
#include "host/base/Output.h"
#include "host/base/PrivateSocket.h"
#include "host/keys/Service.h"
#include "host/terminal/Signals.h"

namespace Host {
void ServeAgent(const Options& options, const AgentArguments& arguments) {
  if (options.pinFile == "-")
    throw Failure(ExitStatus::Usage, "the agent may need the PIN more than once; --pin-file takes a real file here");
  const int stop = SignalDescriptor({SIGINT, SIGTERM, SIGHUP});
  const PrivateSocket socket(arguments.socket);
  ExtensionProcess process = MakeProcess(options);
  process.GiveUpAt(stop);
  PinPrompt prompt(stop);
  CardKeys keys(options, arguments.alwaysAsk ? CardKeys::Login::ForEachSignature : CardKeys::Login::UntilRemoval,
                process, prompt);
  Ssh::Agent agent(keys);
  AgentServer server(socket.Descriptor(), geteuid(), agent);
  Print("SSH_AUTH_SOCK=" + ShellWord(socket.Path()) + "; export SSH_AUTH_SOCK;\n");
  server.Run(stop, {keys.Descriptors(), [&] { keys.EndGone(); }});
  SignalCame(stop);  // the cards are left in peace, unless another signal comes
}

}  // namespace Host
