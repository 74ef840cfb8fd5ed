#ifndef SOFTCARD_PINPAD_H
#define SOFTCARD_PINPAD_H

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace SoftCard {

/// The soft card's PIN pad: the PKCS#11 library waits at a pipe in the state folder, and `softcard pinpad` writes into
/// it. The PIN is in no file and on no command line; the pipe is there only while a login waits.

/// What a waiting login was told.
struct PinPadAnswer {
  enum Kind { Entered, Cancelled, TimedOut, Removed } kind;
  std::string pin;
};

/// Waits until the PIN is entered or cancelled, `limit` has passed, or `removed` returns true (asked several times a
/// second). Those who wait for the same card have their turns one after the other. Throws std::runtime_error when the
/// pipe cannot be made.
PinPadAnswer WaitForPinPad(const std::filesystem::path& directory, const std::string& card, std::chrono::seconds limit,
                           const std::function<bool()>& removed);

/// Gives the PIN to the login that waits for `card`; no PIN cancels it. Waits up to `patience` for one to appear.
/// Returns false when none did. Throws std::runtime_error when the pipe cannot be written.
bool AnswerPinPad(const std::filesystem::path& directory, const std::string& card, const std::string* pin,
                  std::chrono::seconds patience);

}  // namespace SoftCard

#endif
