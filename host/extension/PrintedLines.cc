#include "host/extension/PrintedLines.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"
#include "host/base/Output.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

constexpr size_t kLongestLine = 4096;
constexpr size_t kMostAtOnce = 256 * 1024;  // more than a pipe holds: who prints without end keeps nobody

void Show(const std::string& text) {
  const std::string shown = LinesForTerminal(text);
  WriteAll(STDERR_FILENO, shown.data(), shown.size());  // what cannot be shown is not worth an error
}

}  // namespace

PrintedLines::PrintedLines() : m_stop(eventfd(0, EFD_CLOEXEC)) {
  int ends[2] = {-1, -1};
  if (m_stop < 0 || pipe2(ends, O_CLOEXEC) != 0) {
    const std::string reason = std::strerror(errno);
    close(m_stop);
    throw Failure(ExitStatus::Failed, "no pipe: " + reason);
  }
  m_output = ends[0];
  m_input = ends[1];
  fcntl(m_output, F_SETFL, O_NONBLOCK);
  // Signals are for the threads that know what to do with them.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  m_thread = std::thread([this] { Run(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

PrintedLines::~PrintedLines() {
  CloseDescriptor();
  const uint64_t one = 1;
  WriteAll(m_stop, &one, sizeof one);
  m_thread.join();
  Pass();
  if (!m_begun.empty()) Show(m_begun + "\n");
  close(m_output);
  close(m_stop);
}

void PrintedLines::CloseDescriptor() {
  if (m_input >= 0) close(m_input);
  m_input = -1;
}

void PrintedLines::Pass() {
  const std::lock_guard<std::mutex> guard(m_lock);
  char block[4096];
  ssize_t got = 0;
  for (size_t passed = 0; passed < kMostAtOnce && (got = read(m_output, block, sizeof block)) > 0;
       passed += static_cast<size_t>(got)) {
    m_begun.append(block, static_cast<size_t>(got));
    const size_t end = m_begun.rfind('\n');
    if (end != std::string::npos) {
      Show(m_begun.substr(0, end + 1));
      m_begun.erase(0, end + 1);
    }
    if (m_begun.size() > kLongestLine) {
      Show(m_begun + "\n");
      m_begun.clear();
    }
  }
}

void PrintedLines::Run() {
  pollfd waited[] = {{m_stop, POLLIN, 0}, {m_output, POLLIN, 0}};
  while (poll(waited, 2, -1) >= 0 || errno == EINTR) {
    if (waited[0].revents != 0) return;
    if ((waited[1].revents & POLLIN) != 0) {
      Pass();
    } else if (waited[1].revents != 0) {
      waited[1].fd = -1;  // nobody is left who could print
    }
  }
}

}  // namespace Host
