#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/src/Foundation/ExtensionServer.h"
#include "platform/testing/SystemLog.h"

/// The product in this process as its extension process has it, over the card in force: an empty home, the recording
/// dialog library, a system log that is thrown away.
class ExtensionUnderFuzz {
 public:
  ExtensionUnderFuzz();

  /// Ends the process when the PIN dialog is left visible.
  ~ExtensionUnderFuzz();

  /// The answer to a request; nothing for one that makes no sense.
  std::optional<Wire::Message> Ask(const std::string& call, const nlohmann::json& arguments,
                                   const std::string& attachment = {});

  static constexpr char kReader[] = "Example Reader 0";

 private:
  SystemLog::Captured m_systemLog;
  std::unique_ptr<ExtensionServer> m_server;
};
