#include "host/agent/Serve.h"

#include <signal.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/agent/ServedCommand.h"
#include "host/agent/Server.h"
#include "host/base/Output.h"
#include "host/base/PrivateSocket.h"
#include "host/keys/Service.h"
#include "host/terminal/Signals.h"

namespace Host {
namespace {

/// A descriptor that can be read from when one of two can be.
class EitherOf {
 public:
  EitherOf(int one, int other) : m_descriptor(epoll_create1(EPOLL_CLOEXEC)) {
    for (const int each : {one, other}) {
      epoll_event readable = {};
      readable.events = EPOLLIN;
      if (m_descriptor < 0 || epoll_ctl(m_descriptor, EPOLL_CTL_ADD, each, &readable) != 0)
        throw Failure(ExitStatus::Failed, std::string("waiting is not possible: ") + std::strerror(errno));
    }
  }
  ~EitherOf() { close(m_descriptor); }
  EitherOf(const EitherOf&) = delete;
  EitherOf& operator=(const EitherOf&) = delete;

  int Descriptor() const { return m_descriptor; }

 private:
  int m_descriptor;
};

/// Serves until `end` can be read from; then the cards are left in peace, unless a signal comes to `stop`.
void ServeUntil(int end, int stop, const PrivateSocket& socket, const Options& options,
                const CardKeys::Lifetime& lifetime) {
  ExtensionProcess process = MakeProcess(options);
  process.GiveUpAt(end);
  PinPrompt prompt(end);
  CardKeys keys(options, lifetime, process, prompt);
  Ssh::Agent agent(keys);
  AgentServer server(socket.Descriptor(), geteuid(), agent);
  server.Run(end, {keys.Descriptors(), [&] { keys.EndGone(); }});
  SignalCame(stop);
  process.GiveUpAt(stop);
}

}  // namespace

int ServeAgent(const Options& options, const AgentArguments& arguments) {
  if (options.pinFile == "-")
    throw Failure(ExitStatus::Usage, "the agent may need the PIN more than once; --pin-file takes a real file here");
  const bool alone = arguments.command.empty();
  const int stop = SignalDescriptor(alone ? std::vector{SIGINT, SIGTERM, SIGHUP} : std::vector{SIGTERM, SIGHUP});
  if (!alone) SignalDescriptor({SIGINT, SIGQUIT});  // what is typed is for the command, which may go on
  const PrivateSocket socket(arguments.socket);
  if (alone) {
    Print("SSH_AUTH_SOCK=" + ShellWord(socket.Path()) + "; export SSH_AUTH_SOCK;\n");
    ServeUntil(stop, stop, socket, options, arguments.lifetime);
    return 0;
  }
  ServedCommand command(arguments.command, socket.Path());
  const EitherOf end(command.Descriptor(), stop);
  ServeUntil(end.Descriptor(), stop, socket, options, arguments.lifetime);
  command.Terminate();
  return command.Wait();
}

}  // namespace Host
