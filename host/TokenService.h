#pragma once

#include <string>
#include <vector>

#include "host/ExtensionProcess.h"
#include "host/PinSource.h"

namespace Host {

/// The token of the card in one reader, as the service holds it from insertion to removal.
class CardToken {
 public:
  /// Asks the extension for the token. Throws Failure (no token) when it gives none. Uses `process`, which outlives it.
  CardToken(ExtensionProcess& process, std::string reader);

  /// Ends the token, unless its process is gone already. What fails is for the observer only.
  ~CardToken();

  CardToken(const CardToken&) = delete;
  CardToken& operator=(const CardToken&) = delete;

  const std::string& Reader() const { return m_reader; }
  const std::string& InstanceID() const { return m_token.instanceID; }
  const std::vector<Wire::Item>& Items() const { return m_token.items; }
  int64_t ID() const { return m_token.id; }
  ExtensionProcess& Process() const { return m_process; }

  /// Ends the token now. Throws Failure as ExtensionProcess::Ask does.
  void Terminate();

 private:
  ExtensionProcess& m_process;
  std::string m_reader;
  Wire::Token m_token;
  int m_run = 0;
  bool m_ended = false;
};

/// A session of one authentication context, in the order of the platform's calls: the algorithm's walk, the operation,
/// and, when the extension asks for it, authentication and the operation again.
class KeySession {
 public:
  /// `token` and `pins` outlive it. Throws Failure.
  KeySession(const CardToken& token, const PinSource& pins);

  /// Each throws Failure: not supported, PIN refused, cancelled, or what else the extension reports.
  Wire::Bytes Sign(const Wire::Item& key, const std::string& algorithm, const Wire::Bytes& message);
  Wire::Bytes Decrypt(const Wire::Item& key, const Wire::Bytes& ciphertext);
  /// `size` in bytes.
  Wire::Bytes Agree(const Wire::Item& key, const Wire::Bytes& peer, int64_t size,
                    const std::optional<Wire::Bytes>& sharedInfo);

 private:
  using Operation = std::function<Wire::Answer<Wire::Bytes>(Wire::Client&)>;

  /// What the token supports for `algorithm`. Throws Failure (not supported).
  Wire::Algorithms Walk(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm,
                        Wire::Bytes* data);
  Wire::Bytes Perform(Wire::Operation number, const std::string& call, const Wire::Item& key,
                      const Operation& operation);
  /// Perform, telling of the call that failed even when the card is gone.
  Wire::Bytes Attempt(Wire::Operation number, const std::string& call, const Wire::Item& key,
                      const Operation& operation);
  void Authenticate(Wire::Operation number, const Wire::Item& key);
  Failure LoginFailure(const Wire::Item& key, const std::optional<Wire::Error>& error) const;

  const CardToken& m_token;
  const PinSource& m_pins;
  int64_t m_session = 0;
};

}  // namespace Host
