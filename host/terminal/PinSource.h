#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/terminal/TerminalQuestion.h"
#include "platform/wire/Attachment.h"

namespace Host {

/// Whose PIN it is.
struct PinOwner {
  std::string card, reader;
  std::optional<int> triesLeft;  ///< when they are known
};

/// "PIN of card QEL-1 in reader "Desk" (2 tries left): ", with nothing in it that would steer a terminal.
std::string PinPromptFor(const PinOwner& owner);

/// Where PINs come from: the user, who is asked on the terminal unless another way is given, or a file.
class PinSource {
 public:
  using Asker = std::function<Wire::Attachment(const std::string& prompt)>;

  /// `file` is a path, "-" for standard input, or empty for the user.
  explicit PinSource(
      std::string file, Asker ask = [](const std::string& prompt) { return AskOnTerminal(prompt); })
      : m_file(std::move(file)), m_ask(std::move(ask)) {}

  /// The PIN: the user's answer to `prompt`, or the file's first line, without its end.
  /// The buffer is wiped by its owner; no copy stays here. Throws Failure (cancelled, no PIN, or nothing to read from).
  Wire::Attachment Read(const std::string& prompt) const;

 private:
  std::string Name() const;
  Wire::Attachment ReadFile() const;

  std::string m_file;
  Asker m_ask;
};

}  // namespace Host
