#include "host/extension/ChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/CoreDumps.h"
#include "host/base/Failure.h"
#include "host/base/ProcessDescriptor.h"

namespace Host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// What the child is to be before it does anything. `parent` is this program.
void Settle(pid_t parent) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it ended before the line above
  ForbidCoreDumps();
  signal(SIGTTOU, SIG_IGN);  // what it tells on the terminal must not stop it
}

}  // namespace

ChildProcess::ChildProcess(const std::function<int()>& work) {
  const pid_t parent = getpid();
  m_id = fork();
  if (m_id == 0) {
    Settle(parent);
    _exit(work());
  }
  if (m_id > 0) {
    setpgid(m_id, m_id);  // whoever is first: the group is there when this returns
    m_descriptor = ProcessDescriptor(m_id);
    if (m_descriptor >= 0) return;
    const int reason = errno;
    End(milliseconds(0));
    errno = reason;
  }
  throw Failure(ExitStatus::Failed, std::string("no process to be had: ") + std::strerror(errno));
}

ChildProcess::~ChildProcess() {
  End(milliseconds(0));
  close(m_descriptor);
}

bool ChildProcess::EndsWithin(milliseconds patience) const {
  const auto deadline = steady_clock::now() + patience;
  pollfd ended = {m_descriptor, POLLIN, 0};
  int ready = -1;
  do {
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
    ready = poll(&ended, 1, left > 0 ? static_cast<int>(left) : 0);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

int ChildProcess::End(milliseconds patience) {
  if (m_ended) return m_status;
  if (patience > milliseconds(0)) EndsWithin(patience);
  // Nobody has waited for it yet, so that its number and its group's are nobody else's. It may have left the group.
  kill(-m_id, SIGKILL);
  kill(m_id, SIGKILL);
  while (waitpid(m_id, &m_status, 0) < 0 && errno == EINTR) {
  }
  m_ended = true;
  return m_status;
}

}  // namespace Host
