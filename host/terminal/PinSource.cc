#include "host/terminal/PinSource.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

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

}  // namespace

std::string PinPromptFor(const PinOwner& owner) {
  constexpr size_t kShown = 60;
  std::string text =
      "PIN of card " + ForTerminal(owner.card, kShown) + " in reader \"" + ForTerminal(owner.reader, kShown) + "\"";
  if (owner.triesLeft)
    text += " (" + std::to_string(*owner.triesLeft) + (*owner.triesLeft == 1 ? " try left)" : " tries left)");
  return text + ": ";
}

Wire::Attachment PinSource::Read(const std::string& prompt) const {
  return m_file.empty() ? m_ask(prompt) : ReadFile();
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
