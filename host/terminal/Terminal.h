#pragma once

#include <termios.h>

#include <string>
#include <vector>

#include "host/terminal/TerminalText.h"

namespace Host {

/// Whether there is a terminal at `descriptor` and what it shows can be redrawn.
bool CanRedraw(int descriptor);

/// Whether to use colours on standard output: where it can be redrawn, unless NO_COLOR is set to anything.
bool UsesColours();

struct TerminalSize {
  size_t columns = 80;
  size_t rows = 24;
};

/// Of the terminal at `descriptor`; the default where there is none.
TerminalSize SizeOf(int descriptor);

/// What standard output is laid out for: the columns that COLUMNS names, else those of its terminal, else any.
Page OutputPage();

/// Prints `message` on standard error as a line that begins with the program's name; at a terminal as many lines as it
/// needs, broken between words.
void TellUser(const std::string& message);

/// The terminal as a screen that is drawn as a whole. What it showed before is back when this object ends.
class FullScreen {
 public:
  FullScreen();
  ~FullScreen();
  FullScreen(const FullScreen&) = delete;
  FullScreen& operator=(const FullScreen&) = delete;

  /// Replaces what is shown. No line may be longer than the terminal's; there may be no more than its rows.
  void Draw(const std::vector<std::string>& lines) const;

  /// Readable when the user typed; -1 when standard input is no terminal.
  int Keys() const { return m_keys; }
  /// What was typed; does not wait. Ends with '\4' (Ctrl-D) when no more can come.
  std::string Typed() const;

 private:
  int m_keys = -1;
  termios m_before = {};
};

}  // namespace Host
