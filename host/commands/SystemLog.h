#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/commands/FollowedLog.h"

namespace Host {

/// Where the extension's lines of the system log are found.
struct SystemLog {
  std::vector<std::string> command;  ///< a program that prints the extension's lines from now on
  std::filesystem::path file;        ///< else a file with everybody's lines
  bool IsThere() const { return !command.empty() || !file.empty(); }
};

/// The journal where there is one, else the file in which syslog usually writes, else nothing. `root` is "/" but in
/// tests.
SystemLog FindSystemLog(const std::filesystem::path& root = "/");

/// Follows it. Null when there is none. Throws Failure as the followed logs do.
std::unique_ptr<FollowedLog> Follow(const SystemLog& log);

/// Whether a line of the system log is the extension's.
bool IsFromExtension(const std::string& line);

}  // namespace Host
