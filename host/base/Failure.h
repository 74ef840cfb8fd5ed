#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "platform/wire/Client.h"

namespace Host {

/// What a command ends with; scripts rely on the numbers.
enum class ExitStatus {
  Done = 0,
  Failed = 1,
  Usage = 2,
  NoToken = 3,       ///< no reader, card or token
  NotSupported = 4,  ///< no such key or certificate, or the key does not do that
  PinRefused = 5,    ///< wrong or locked PIN
  Cancelled = 6,
};

/// Ends a command. The text is one line: what failed, domain and code, what to do.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}
  ExitStatus Status() const { return m_status; }

 private:
  ExitStatus m_status;
};

/// What the wire calls TKErrorDomain, and its codes that the host acts on.
constexpr char kTokenKitDomain[] = "CryptoTokenKit";
constexpr int64_t kCanceledByUser = -4;
constexpr int64_t kBadParameter = -8;
constexpr int64_t kAuthenticationNeeded = -9;

bool IsTokenKitError(const std::optional<Wire::Error>& error, int64_t code);

/// Domain and code: "TKErrorDomain -9".
std::string CodeOf(const Wire::Error& error);

/// The same and, where the extension gave one or the platform fixes it, the meaning: "TKErrorDomain -9,
/// authentication needed". Without an error: "no error object".
std::string Describe(const std::optional<Wire::Error>& error);

/// The failure that a refused card operation ends a command with. `what` is what failed: "signing". `hint` is a
/// question about what most often is the cause; empty: none.
Failure OperationFailure(const std::string& what, const std::optional<Wire::Error>& error,
                         const std::string& hint = "");

}  // namespace Host
