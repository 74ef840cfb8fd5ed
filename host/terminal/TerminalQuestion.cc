#include "host/terminal/TerminalQuestion.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Words.h"
#include "host/terminal/Signals.h"

namespace Host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr char kElsewhere[] = "; give it with --pin-file FILE";

Failure Cancelled(const std::string& why) {
  return {ExitStatus::Cancelled, "PIN entry was cancelled" + why};
}

/// The terminal of this program's session.
class Terminal {
 public:
  Terminal() : m_descriptor(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
  ~Terminal() {
    if (m_descriptor >= 0) close(m_descriptor);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int Descriptor() const { return m_descriptor; }
  bool IsThere() const { return m_descriptor >= 0; }
  bool IsInForeground() const { return tcgetpgrp(m_descriptor) == getpgrp(); }
  void Print(const std::string& text) const {
    [[maybe_unused]] const ssize_t written = write(m_descriptor, text.data(), text.size());
  }

 private:
  int m_descriptor;
};

/// The terminal without echo and lines, from Hide to Restore.
class HiddenTyping {
 public:
  explicit HiddenTyping(const Terminal& terminal) : m_terminal(terminal) {
    if (tcgetattr(terminal.Descriptor(), &m_before) != 0)
      throw Failure(ExitStatus::Failed, std::string("the terminal does not answer: ") + std::strerror(errno));
  }
  ~HiddenTyping() { Restore(TCSAFLUSH); }
  HiddenTyping(const HiddenTyping&) = delete;
  HiddenTyping& operator=(const HiddenTyping&) = delete;

  /// What was typed before the question is no answer to it, and is forgotten.
  void Hide() {
    termios hidden = m_before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHONL | IEXTEN);
    hidden.c_cc[VMIN] = 1;
    hidden.c_cc[VTIME] = 0;
    tcsetattr(m_terminal.Descriptor(), TCSAFLUSH, &hidden);
    m_isHidden = true;
  }

  /// In the background the terminal is another program's, which has set it up for itself.
  void Restore(int how) {
    if (m_isHidden && m_terminal.IsInForeground()) tcsetattr(m_terminal.Descriptor(), how, &m_before);
    m_isHidden = false;
  }

  bool Is(uint8_t typed, int key) const { return m_before.c_cc[key] != _POSIX_VDISABLE && m_before.c_cc[key] == typed; }

 private:
  const Terminal& m_terminal;
  termios m_before = {};
  bool m_isHidden = false;
};

/// What is typed, with the keys that take something back.
class TypedPin {
 public:
  void Add(uint8_t byte) {
    if (m_length < kLongestPin) m_bytes.data()[m_length] = byte;
    ++m_length;
  }

  /// The last character, which may have several bytes.
  void EraseLast() {
    bool isContinuation = true;
    while (m_length > 0 && isContinuation) {
      const uint8_t last = --m_length < kLongestPin ? std::exchange(m_bytes.data()[m_length], uint8_t{0}) : uint8_t{0};
      isContinuation = (last & 0xC0) == 0x80;
    }
  }

  void EraseAll() {
    std::fill_n(m_bytes.data(), m_bytes.size(), uint8_t{0});
    m_length = 0;
  }

  Wire::Attachment Take() {
    if (m_length > kLongestPin) throw Failure(ExitStatus::Failed, "what was typed is too long for a PIN");
    m_bytes.Shorten(m_length);
    return std::move(m_bytes);
  }

 private:
  Wire::Attachment m_bytes{kLongestPin};
  size_t m_length = 0;
};

class Question {
 public:
  Question(const Terminal& terminal, const QuestionLimits& limits)
      : m_terminal(terminal), m_limits(limits), m_typing(terminal) {
    if (limits.patience) m_deadline = steady_clock::now() + *limits.patience;
  }

  Wire::Attachment Ask(const std::string& prompt) {
    do {
      m_pin.EraseAll();
      ComeToForeground();
      m_typing.Hide();
      m_terminal.Print(prompt);
    } while (Read() == Outcome::AskAgain);
    m_typing.Restore(TCSADRAIN);
    Wire::Attachment pin = m_pin.Take();
    if (pin.empty()) throw Failure(ExitStatus::Cancelled, "no PIN was typed, so none was tried; run the command again");
    return pin;
  }

 private:
  enum class Outcome { Typed, AskAgain };

  /// In the background, stops as reading from the terminal would, until the user says `fg`.
  void ComeToForeground() {
    while (!m_terminal.IsInForeground()) {
      if (!m_limits.waitsForForeground) throw Cancelled(": another program has the terminal");
      kill(0, SIGTTIN);
      if (!HasContinued())  // nobody is there who could say it
        throw Failure(ExitStatus::Failed, std::string("the PIN cannot be asked for in the background") + kElsewhere);
    }
  }

  /// Takes the signals that came. Whether one said that this program goes on.
  bool HasContinued() {
    bool continued = false;
    for (int signal = m_signals.Next(); signal != 0; signal = m_signals.Next()) {
      continued = continued || signal == SIGCONT;
      if (signal != SIGCONT && signal != SIGTSTP) End(signal);
    }
    return continued;
  }

  Outcome Read() {
    while (true) {
      pollfd waited[] = {
          {m_signals.Descriptor(), POLLIN, 0}, {m_limits.stop, POLLIN, 0}, {m_terminal.Descriptor(), POLLIN, 0}};
      const int ready = poll(waited, std::size(waited), Left());
      if (ready == 0) Abandon(": nobody answered for " + InWords(*m_limits.patience));
      if (const int signal = m_signals.Next(); signal != 0) {
        Follow(signal);
        return Outcome::AskAgain;
      }
      if (ready < 0) continue;
      if (waited[1].revents != 0) Abandon(": the agent ends");
      if (waited[2].revents != 0 && Took()) return Outcome::Typed;
    }
  }

  int Left() const {
    if (!m_deadline) return -1;
    return static_cast<int>(
        std::max<milliseconds::rep>(0, std::chrono::ceil<milliseconds>(*m_deadline - steady_clock::now()).count()));
  }

  /// Does what `signal` means. When this returns, the question is to be asked again.
  void Follow(int signal) {
    if (signal == SIGTSTP) {
      m_pin.EraseAll();
      m_typing.Restore(TCSAFLUSH);
      m_terminal.Print("\n");
      m_signals.Deliver(signal);
      HasContinued();  // one question is enough
    } else if (signal != SIGCONT) {
      End(signal);
    }
  }

  /// Lets `signal`, which ends programs, do so, or what else this program does with it.
  [[noreturn]] void End(int signal) {
    m_pin.EraseAll();
    m_typing.Restore(TCSAFLUSH);
    m_terminal.Print("\n");
    if (signal == SIGINT) throw Cancelled("; run the command again");
    m_signals.Deliver(signal);
    throw Cancelled(std::string(": ") + strsignal(signal));
  }

  [[noreturn]] void Abandon(const std::string& why) {
    m_terminal.Print("\n");
    throw Cancelled(why);
  }

  /// Takes one byte. Returns whether it was the last.
  bool Took() {
    uint8_t byte = 0;
    const ssize_t got = read(m_terminal.Descriptor(), &byte, 1);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return false;
    if (got <= 0) throw Cancelled(": the terminal is gone");
    if (m_typing.Is(byte, VEOF)) Abandon("; run the command again");
    if (byte == '\n' || byte == '\r') {
      m_terminal.Print("\n");
      return true;
    }
    if (m_typing.Is(byte, VERASE) || byte == '\b') {
      m_pin.EraseLast();
    } else if (m_typing.Is(byte, VKILL) || m_typing.Is(byte, VWERASE)) {
      m_pin.EraseAll();
    } else {
      m_pin.Add(byte);
    }
    return false;
  }

  const Terminal& m_terminal;
  const QuestionLimits& m_limits;
  std::optional<steady_clock::time_point> m_deadline;
  CaughtSignals m_signals{{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT}};
  HiddenTyping m_typing;
  TypedPin m_pin;
};

}  // namespace

bool IsInForeground() {
  const Terminal terminal;
  return terminal.IsThere() && terminal.IsInForeground();
}

Wire::Attachment AskOnTerminal(const std::string& prompt, const QuestionLimits& limits) {
  const Terminal terminal;
  if (!terminal.IsThere())
    throw Failure(ExitStatus::Failed, std::string("no terminal to ask for the PIN on") + kElsewhere);
  return Question(terminal, limits).Ask(prompt);
}

}  // namespace Host
