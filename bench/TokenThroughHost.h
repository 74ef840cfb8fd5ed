#pragma once

#include <string>

#include "bench/SigningKeys.h"
#include "host/extension/ExtensionProcess.h"

/// The token of a benchmark card as an application gets it: in the extension's process, through the host's socket.
/// Throws std::runtime_error when the extension refuses.
class TokenThroughHost {
 public:
  /// Starts the extension and has the token and its items.
  explicit TokenThroughHost(const std::string& reader);

  /// Makes a session and logs in.
  void LogIn();

  /// Number of published items.
  size_t Items() const { return m_token.items.size(); }

  /// What Sign wants of a key, made ahead.
  struct Request {
    std::string key;
    Wire::Algorithms algorithms;
    Wire::Bytes data;
  };
  static Request RequestFor(const SigningKey& key);
  void Sign(const Request& request);

 private:
  Host::ExtensionProcess m_process;
  Wire::Token m_token;
  int64_t m_session = 0;
};
