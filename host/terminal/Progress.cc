#include "host/terminal/Progress.h"

#include <signal.h>
#include <unistd.h>

#include <iterator>

#include "host/terminal/Terminal.h"

namespace Host {
namespace {

constexpr char kErase[] = "\r\x1b[K";
constexpr int kEndings[] = {SIGINT, SIGTERM, SIGHUP};

/// As much of `text` as the terminal takes: what a terminal does not show is not worth an error.
void Write(const char* text, size_t length) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, length);
}

extern "C" void EraseAndEnd(int signal) {
  Write(kErase, sizeof kErase - 1);
  raise(signal);  // ends the program, now that its handler is used up
}

/// While this lives, a signal that ends the program erases the line first. What is ignored or handled stays so.
class ErasedAtTheEnd {
 public:
  ErasedAtTheEnd() {
    struct sigaction erase = {};
    erase.sa_handler = EraseAndEnd;
    erase.sa_flags = static_cast<int>(SA_RESETHAND);
    for (size_t i = 0; i < std::size(kEndings); ++i) {
      sigaction(kEndings[i], nullptr, &m_before[i]);
      if (m_before[i].sa_handler == SIG_DFL) sigaction(kEndings[i], &erase, nullptr);
    }
  }
  ~ErasedAtTheEnd() {
    for (size_t i = 0; i < std::size(kEndings); ++i) sigaction(kEndings[i], &m_before[i], nullptr);
  }
  ErasedAtTheEnd(const ErasedAtTheEnd&) = delete;
  ErasedAtTheEnd& operator=(const ErasedAtTheEnd&) = delete;

 private:
  struct sigaction m_before[std::size(kEndings)] = {};
};

}  // namespace

bool Progress::IsPossible() {
  return CanRedraw(STDERR_FILENO);
}

Progress::Progress(std::string what) : m_what(std::move(what)), m_showing([this] { Run(); }) {}

Progress::~Progress() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_ends = true;
  }
  m_change.notify_one();
  m_showing.join();
}

void Progress::Run() {
  std::unique_lock<std::mutex> guard(m_lock);
  const auto ends = [this] { return m_ends; };
  if (m_change.wait_for(guard, kSilence, ends)) return;
  const ErasedAtTheEnd erased;
  int seconds = 0;
  do {
    const std::string line = m_what + " ..." + (seconds == 0 ? "" : " " + std::to_string(seconds) + " s");
    // The cursor goes back to the beginning, so that what another process prints stands over this line, not behind it.
    const std::string text = kErase + ForTerminal(line, SizeOf(STDERR_FILENO).columns - 1) + "\r";
    Write(text.data(), text.size());
    ++seconds;
  } while (!m_change.wait_for(guard, std::chrono::seconds(1), ends));
  Write(kErase, sizeof kErase - 1);
}

}  // namespace Host
