#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>

#include "host/base/Failure.h"
#include "host/base/Output.h"
#include "host/base/PrivateSocket.h"
#include "host/module/Serve.h"
#include "host/terminal/Signals.h"
#include "host/terminal/Terminal.h"

namespace Host {
namespace {

/// Serves `client` in this process, which is its own and ends with `listening`, the process that made it.
int ServeClient(const Options& options, int client, pid_t listening) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) signal(number, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != listening) return static_cast<int>(ExitStatus::Done);  // it ended before the line above
  try {
    ServeModule(options, client, client);
    return static_cast<int>(ExitStatus::Done);
  } catch (const Failure& failure) {
    TellUser(failure.what());
    return static_cast<int>(failure.Status());
  } catch (const std::exception& problem) {
    TellUser(std::string("an application is not served any more: ") + problem.what());
    return static_cast<int>(ExitStatus::Failed);
  }
}

void Accept(const Options& options, int listener) {
  const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  if (client < 0) return;
  const std::optional<Peer> peer = PeerOf(client);
  if (!peer || peer->user != geteuid()) {
    close(client);
    return;
  }
  const pid_t listening = getpid();
  const pid_t process = fork();
  if (process == 0) {
    close(listener);
    _exit(ServeClient(options, client, listening));
  }
  if (process < 0) TellUser(std::string("no process for another application: ") + std::strerror(errno));
  close(client);
}

}  // namespace

void ServeModuleAt(const Options& options, const std::string& path) {
  const int stop = SignalDescriptor({SIGINT, SIGTERM, SIGHUP});
  signal(SIGCHLD, SIG_IGN);  // nobody asks how an application was served
  const PrivateSocket socket(path);
  Print("P11_KIT_SERVER_ADDRESS=" + ShellWord("unix:path=" + socket.Path()) + "; export P11_KIT_SERVER_ADDRESS;\n" +
        "PKCS11_MODULE_PATH=" + ShellWord(QEL_P11_KIT_CLIENT) + "; export PKCS11_MODULE_PATH;\n");
  while (true) {
    pollfd waiting[] = {{stop, POLLIN, 0}, {socket.Descriptor(), POLLIN, 0}};
    if (poll(waiting, 2, -1) < 0 && errno != EINTR)
      throw Failure(ExitStatus::Failed, std::string("waiting for applications failed: ") + std::strerror(errno));
    if (waiting[0].revents != 0) return;
    if (waiting[1].revents != 0) Accept(options, socket.Descriptor());
  }
}

}  // namespace Host
