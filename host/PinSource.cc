#include "host/PinSource.h"

#include <fcntl.h>
#include <openssl/ui.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/Failure.h"
#include "softcard/State.h"

namespace Host {
namespace {

std::string Prompt(std::optional<int> triesLeft) {
  const bool runningOut = triesLeft && *triesLeft < SoftCard::kPinTries;
  return runningOut ? "PIN (tries left: " + std::to_string(*triesLeft) + "): " : "PIN: ";
}

/// Fills `buffer` from `descriptor` up to the end or until it is full. Returns the number of bytes, or -1.
ssize_t ReadUpTo(int descriptor, Wire::Attachment& buffer) {
  size_t filled = 0;
  while (filled < buffer.size()) {
    const ssize_t got = read(descriptor, buffer.data() + filled, buffer.size() - filled);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) break;
    filled += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(filled);
}

/// Holds back the news of an ended child: OpenSSL's prompt takes its last signal for what ended it, and the interrupt
/// that is typed there ends the extension as well.
class ChildrenEndUnnoticed {
 public:
  ChildrenEndUnnoticed() {
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &children, &m_before);
  }
  ~ChildrenEndUnnoticed() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  ChildrenEndUnnoticed(const ChildrenEndUnnoticed&) = delete;
  ChildrenEndUnnoticed& operator=(const ChildrenEndUnnoticed&) = delete;

 private:
  sigset_t m_before;
};

}  // namespace

Wire::Attachment AskOnTerminal(const std::string& prompt) {
  const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0)
    throw Failure(ExitStatus::Failed, "no terminal to ask for the PIN on; give it with --pin-file FILE");
  close(terminal);
  Wire::Attachment pin(kLongestPin + 1);
  auto* text = reinterpret_cast<char*>(pin.data());
  const ChildrenEndUnnoticed unnoticed;
  const int result = UI_UTIL_read_pw_string(text, static_cast<int>(pin.size()), prompt.c_str(), 0);
  if (result == -2) throw Failure(ExitStatus::Cancelled, "PIN entry was cancelled; run the command again");
  if (result != 0)
    throw Failure(ExitStatus::Failed, "the PIN could not be read from the terminal; give it with --pin-file FILE");
  pin.Shorten(std::strlen(text));
  if (pin.size() == 0)
    throw Failure(ExitStatus::Cancelled, "no PIN was typed, so none was tried; run the command again");
  return pin;
}

Wire::Attachment PinSource::Read(std::optional<int> triesLeft) const {
  return m_file.empty() ? m_ask(Prompt(triesLeft)) : ReadFile();
}

std::string PinSource::Name() const {
  return m_file == "-" ? "standard input" : "the PIN file " + m_file;
}

Wire::Attachment PinSource::ReadFile() const {
  const bool standardInput = m_file == "-";
  const int descriptor = standardInput ? STDIN_FILENO : open(m_file.c_str(), O_RDONLY | O_CLOEXEC);
  Wire::Attachment pin(kLongestPin + 1);
  const ssize_t length = descriptor < 0 ? -1 : ReadUpTo(descriptor, pin);
  const std::string reason = std::strerror(errno);
  if (descriptor >= 0 && !standardInput) close(descriptor);
  if (length < 0) throw Failure(ExitStatus::Failed, Name() + " cannot be read: " + reason);
  const uint8_t* end = std::find(pin.data(), pin.data() + length, '\n');
  if (end > pin.data() && end[-1] == '\r') --end;
  const auto pinLength = static_cast<size_t>(end - pin.data());
  if (pinLength > kLongestPin)
    throw Failure(ExitStatus::Failed, "the first line of " + Name() + " is too long for a PIN");
  if (pinLength == 0) throw Failure(ExitStatus::Failed, "the first line of " + Name() + " is empty; put the PIN there");
  pin.Shorten(pinLength);
  return pin;
}

}  // namespace Host
