#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/wire/Attachment.h"

namespace Host {

constexpr size_t kLongestPin = 1023;

/// Asks with `prompt` on the terminal, without echo. Throws Failure (cancelled, nothing typed, or no terminal): an
/// empty PIN would cost a try.
Wire::Attachment AskOnTerminal(const std::string& prompt);

/// Where PINs come from: the user, who is asked on the terminal unless another way is given, or a file.
class PinSource {
 public:
  using Asker = std::function<Wire::Attachment(const std::string& prompt)>;

  /// `file` is a path, "-" for standard input, or empty for the user.
  explicit PinSource(std::string file, Asker ask = AskOnTerminal) : m_file(std::move(file)), m_ask(std::move(ask)) {}

  /// The PIN: the first line, without its end. `triesLeft`, when known, is what the prompt warns about.
  /// The buffer is wiped by its owner; no copy stays here. Throws Failure (cancelled, no PIN, or nothing to read from).
  Wire::Attachment Read(std::optional<int> triesLeft) const;

 private:
  std::string Name() const;
  Wire::Attachment ReadFile() const;

  std::string m_file;
  Asker m_ask;
};

}  // namespace Host
