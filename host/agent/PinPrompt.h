#pragma once

#include <chrono>
#include <string>

#include "platform/wire/Attachment.h"

namespace Host {

/// Asks the user for a PIN while no command of theirs is in front: with the program that SSH_ASKPASS names when there
/// is no terminal or SSH_ASKPASS_REQUIRE is "prefer" or "force"; on the terminal otherwise, or for "never".
class PinPrompt {
 public:
  /// Gives up asking when `stop` can be read from, or after `patience`.
  explicit PinPrompt(int stop, std::chrono::milliseconds patience = std::chrono::minutes(2))
      : m_stop(stop), m_patience(patience) {}

  /// What the PIN is for: goes before the prompt.
  void SetPurpose(std::string purpose) { m_purpose = std::move(purpose); }

  /// The PIN. Throws Failure: cancelled, nowhere to ask, or nobody answered in time.
  Wire::Attachment Ask(const std::string& prompt) const;

 private:
  Wire::Attachment AskWithProgram(const std::string& program, const std::string& prompt) const;

  int m_stop;
  std::chrono::milliseconds m_patience;
  std::string m_purpose;
};

}  // namespace Host
