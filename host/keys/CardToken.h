#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/extension/ExtensionProcess.h"

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
  /// Whether the reader holds another card by now, or the same after it was out. Throws Failure as Readers() does.
  bool IsExchanged() const;
  /// Whether the extension's process that made it still runs. A process that was started since knows nothing of it.
  bool IsKnown() const;
  ExtensionProcess& Process() const { return m_process; }

  /// Ends the token now. Throws Failure as ExtensionProcess::Ask does.
  void Terminate();

 private:
  ExtensionProcess& m_process;
  std::string m_reader;
  std::optional<unsigned long> m_insertion;
  Wire::Token m_token;
  int m_run = 0;
  bool m_ended = false;
};

}  // namespace Host
