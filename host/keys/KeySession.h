#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/keys/AlgorithmWalk.h"
#include "host/keys/CardToken.h"
#include "host/terminal/PinSource.h"

namespace Host {

/// A session of one authentication context, in the order of the platform's calls: the algorithm's walk, the operation,
/// and, when the extension asks for it, authentication and the operation again.
class KeySession {
 public:
  /// `token` and `pins` outlive it. Throws Failure.
  KeySession(const CardToken& token, const PinSource& pins);

  /// Whether the token supports one of the algorithms that the host has a name for. Each throws Failure when it cannot
  /// be asked.
  bool CanSign(const Wire::Item& key);
  bool CanDecrypt(const Wire::Item& key);
  bool CanAgree(const Wire::Item& key);

  /// Each throws Failure: not supported, PIN refused, cancelled, or what else the extension reports.
  Wire::Bytes Sign(const Wire::Item& key, const std::string& algorithm, const Wire::Bytes& message);
  Wire::Bytes Decrypt(const Wire::Item& key, const Wire::Bytes& ciphertext);
  /// Logs in for what the key does. Throws Failure as an operation that needs a login does.
  void LogIn(const Wire::Item& key);
  /// Whether a login for the key needs a PIN from here; else it is typed on the reader. Throws Failure.
  bool WantsPin(const Wire::Item& key);

  /// `size` in bytes.
  Wire::Bytes Agree(const Wire::Item& key, const Wire::Bytes& peer, int64_t size,
                    const std::optional<Wire::Bytes>& sharedInfo);

 private:
  using Operation = std::function<Wire::Answer<Wire::Bytes>(Wire::Client&)>;

  /// The candidate for `algorithm` that the token supports, if there is one.
  std::optional<Candidate> Find(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm);
  /// What the token supports for `algorithm`. Throws Failure (not supported).
  Wire::Algorithms Walk(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm,
                        Wire::Bytes* data);
  Wire::Bytes Perform(Wire::Operation number, const std::string& call, const Wire::Item& key,
                      const Operation& operation);
  /// Perform, telling of the call that failed even when the card is gone.
  Wire::Bytes Attempt(Wire::Operation number, const std::string& call, const Wire::Item& key,
                      const Operation& operation);
  Wire::Authentication BeginAuthentication(Wire::Operation number, const Wire::Item& key);
  void Authenticate(Wire::Operation number, const Wire::Item& key);
  Failure LoginFailure(const Wire::Item& key, const std::optional<Wire::Error>& error) const;

  const CardToken& m_token;
  const PinSource& m_pins;
  int64_t m_session = 0;
};

}  // namespace Host
