#pragma once

#include <memory>
#include <stdexcept>

#include "platform/src/Foundation/ExtensionBundle.h"
#include "platform/wire/Message.h"

/// A request that makes no sense: an unknown call, an identifier that was never given out.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Plays the part of the service that lives in the extension's process: makes the driver and calls it, its tokens and
/// their sessions through their delegates. One thread.
class ExtensionServer {
 public:
  /// Makes the driver. Throws ExtensionBundleError when the program has no such driver class.
  explicit ExtensionServer(const ExtensionBundle& bundle);

  /// Ends every session and token that is left, then releases the driver.
  ~ExtensionServer();

  /// Answers one request. What the extension raises (NSException) becomes an answer. Throws BadRequest and
  /// nlohmann::json::exception for a request that makes no sense; other C++ exceptions are the extension's own.
  Wire::Message Answer(const Wire::Message& request);

 private:
  class State;
  std::unique_ptr<State> m_state;
};
