#include "host/terminal/Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "host/base/Output.h"

namespace Host {
namespace {

// Other screen, no cursor, no line wrap; and back.
constexpr char kEnter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr char kLeave[] = "\x1b[?7h\x1b[?25h\x1b[?1049l";

/// The value of an environment variable; empty when it is not set.
std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

bool CanRedraw(int descriptor) {
  const std::string terminal = Variable("TERM");
  return isatty(descriptor) != 0 && !terminal.empty() && terminal != "dumb";
}

bool UsesColours() {
  return CanRedraw(STDOUT_FILENO) && Variable("NO_COLOR").empty();
}

TerminalSize SizeOf(int descriptor) {
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
  return {size.ws_col, size.ws_row};
}

Page OutputPage() {
  const long chosen = std::strtol(Variable("COLUMNS").c_str(), nullptr, 10);
  if (chosen > 0) return {static_cast<size_t>(chosen), UsesColours()};
  return {isatty(STDOUT_FILENO) != 0 ? SizeOf(STDOUT_FILENO).columns : Page::kAnyColumns, UsesColours()};
}

void TellUser(const std::string& message) {
  const std::string text = ForTerminal("ctkhost: " + message, std::string::npos);
  if (isatty(STDERR_FILENO) == 0) {
    std::fprintf(stderr, "%s\n", text.c_str());
    return;
  }
  const std::string indent = "  ";
  const char* start = "";
  for (const std::string& line : Wrapped(text, SizeOf(STDERR_FILENO).columns - indent.size())) {
    std::fprintf(stderr, "%s%s\n", start, line.c_str());
    start = indent.c_str();
  }
}

FullScreen::FullScreen() {
  if (isatty(STDIN_FILENO) != 0 && tcgetattr(STDIN_FILENO, &m_before) == 0) {
    m_keys = STDIN_FILENO;
    termios typed = m_before;
    typed.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    typed.c_cc[VSUSP] = _POSIX_VDISABLE;  // a shell behind a screen without cursor serves nobody
    tcsetattr(m_keys, TCSANOW, &typed);
  }
  Print(kEnter);
}

FullScreen::~FullScreen() {
  WriteAll(STDOUT_FILENO, kLeave, sizeof kLeave - 1);
  if (m_keys >= 0) tcsetattr(m_keys, TCSAFLUSH, &m_before);
}

void FullScreen::Draw(const std::vector<std::string>& lines) const {
  std::string text = "\x1b[H";
  for (size_t i = 0; i < lines.size(); ++i) text += (i == 0 ? "" : "\r\n") + lines[i] + "\x1b[K";
  Print(text + "\x1b[J");
}

std::string FullScreen::Typed() const {
  std::string typed;
  pollfd waiting = {m_keys, POLLIN, 0};
  char buffer[64];
  while (m_keys >= 0 && poll(&waiting, 1, 0) > 0) {
    const ssize_t got = read(m_keys, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return typed + '\4';
    typed.append(buffer, static_cast<size_t>(got));
  }
  return typed;
}

}  // namespace Host
