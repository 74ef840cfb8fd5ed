#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/wire/Attachment.h"

namespace Host {

constexpr size_t kLongestPin = 1023;

/// What ends a question at the terminal, beside its answer.
struct QuestionLimits {
  int stop = -1;                                      ///< a descriptor: it is given up when it can be read from
  std::optional<std::chrono::milliseconds> patience;  ///< how long to wait
  bool waitsForForeground = true;                     ///< stops this program in the background, as reading would
};

/// Asks for a PIN with `prompt` on the terminal, without echo. What is typed comes byte by byte straight into the
/// buffer that is returned and is nowhere else, not even in the terminal's line, where a shell might find it. Ctrl-Z
/// stops the program and leaves the terminal as it was; in the foreground again, the question is asked anew. A signal
/// that ends programs has its effect as soon as the terminal is as it was. Throws Failure: cancelled (Ctrl-C, Ctrl-D,
/// nothing typed, or a limit), or no terminal. An empty PIN would cost a try.
Wire::Attachment AskOnTerminal(const std::string& prompt, const QuestionLimits& limits = {});

/// Whether there is a terminal that this program may read from now.
bool IsInForeground();

}  // namespace Host
