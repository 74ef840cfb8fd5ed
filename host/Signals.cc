#include "host/Signals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/Failure.h"

namespace Host {
namespace {

int g_pipe[2] = {-1, -1};

extern "C" void OnSignal(int number) {
  const int reason = errno;
  const char byte = static_cast<char>(number);
  [[maybe_unused]] const ssize_t written = write(g_pipe[1], &byte, 1);
  errno = reason;
}

}  // namespace

int SignalDescriptor(const std::vector<int>& signals) {
  if (pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
    throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  for (const int signal : signals) sigaction(signal, &action, nullptr);
  return g_pipe[0];
}

}  // namespace Host
