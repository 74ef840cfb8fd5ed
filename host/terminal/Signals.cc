#include "host/terminal/Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"

namespace Host {
namespace {

std::atomic<int> g_pipes[NSIG];  ///< where to tell of each signal

extern "C" void OnSignal(int number) {
  const int reason = errno;
  const char byte = static_cast<char>(number);
  [[maybe_unused]] const ssize_t written = write(g_pipes[number], &byte, 1);
  errno = reason;
}

void MakePipe(int* ends) {
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
    throw Failure(ExitStatus::Failed, std::string("no pipe: ") + std::strerror(errno));
}

void Catch(int signal, int pipe) {
  g_pipes[signal] = pipe;
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  sigaction(signal, &action, nullptr);
}

}  // namespace

int SignalDescriptor(const std::vector<int>& signals) {
  int ends[2];
  MakePipe(ends);
  for (const int signal : signals) Catch(signal, ends[1]);
  return ends[0];
}

bool SignalCame(int descriptor) {
  bool came = false;
  for (char byte; read(descriptor, &byte, 1) == 1;) came = true;
  return came;
}

CaughtSignals::CaughtSignals(const std::vector<int>& signals) {
  MakePipe(m_ends);
  for (const int signal : signals) {
    Before before = {signal, g_pipes[signal], {}};
    sigaction(signal, nullptr, &before.action);
    if (before.action.sa_handler == SIG_IGN) continue;
    m_before.push_back(before);
    Catch(signal, m_ends[1]);
  }
}

void CaughtSignals::PutBack(const Before& before) {
  sigaction(before.signal, &before.action, nullptr);
  g_pipes[before.signal] = before.pipe;
}

CaughtSignals::~CaughtSignals() {
  for (const Before& before : m_before) PutBack(before);
  for (int left = Next(); left != 0; left = Next()) raise(left);
  close(m_ends[0]);
  close(m_ends[1]);
}

int CaughtSignals::Next() const {
  char number = 0;
  return read(m_ends[0], &number, 1) == 1 ? number : 0;
}

void CaughtSignals::Deliver(int signal) const {
  for (const Before& before : m_before) {
    if (before.signal != signal) continue;
    PutBack(before);
    raise(signal);
    Catch(signal, m_ends[1]);
  }
}

}  // namespace Host
