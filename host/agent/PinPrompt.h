#pragma once

#include <string>

#include "platform/wire/Attachment.h"

namespace Host {

/// Asks the user for a PIN while no command of theirs is in front: with the program that SSH_ASKPASS names when there
/// is no terminal or SSH_ASKPASS_REQUIRE is "prefer" or "force"; on the terminal otherwise, or for "never".
class PinPrompt {
 public:
  /// Gives up asking when `stop` can be read from.
  explicit PinPrompt(int stop) : m_stop(stop) {}

  /// What the PIN is for: goes before the prompt.
  void SetPurpose(std::string purpose) { m_purpose = std::move(purpose); }

  /// The PIN. Throws Failure: cancelled, nowhere to ask, or nobody answered for two minutes.
  Wire::Attachment Ask(const std::string& prompt) const;

 private:
  Wire::Attachment AskWithProgram(const std::string& program, const std::string& prompt) const;
  /// Fills `pin` from `descriptor` until its end. Returns its length. Throws Failure.
  size_t Collect(int descriptor, Wire::Attachment& pin) const;

  int m_stop;
  std::string m_purpose;
};

}  // namespace Host
