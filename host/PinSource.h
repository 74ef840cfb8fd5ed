#pragma once

#include <optional>
#include <string>

#include "platform/wire/Attachment.h"

namespace Host {

/// Where PINs come from: the terminal, without echo, or a file.
class PinSource {
 public:
  /// `file` is a path, "-" for standard input, or empty for the terminal.
  explicit PinSource(std::string file) : m_file(std::move(file)) {}

  /// The PIN: the first line, without its end. `triesLeft`, when known, is what the prompt warns about.
  /// The buffer is wiped by its owner; no copy stays here. Throws Failure (cancelled, or nothing to read from).
  Wire::Attachment Read(std::optional<int> triesLeft) const;

 private:
  Wire::Attachment ReadFile() const;

  std::string m_file;
};

}  // namespace Host
