/// The settings that the extension reads when it starts, as a help desk asks for them: value and origin.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Report {

/// One of the two settings files.
struct SettingsFile {
  enum class State { Read, Missing, NotUnderstood, Unreadable };
  std::filesystem::path path;
  State state = State::Missing;
  int line = 0;         ///< that was not understood; 0 when the file has no such line or the parser does not tell it
  std::string problem;  ///< why it cannot be read, in the system's words; empty in every other state
};

struct Setting {
  std::string key;     ///< iniparser's form: section, colon, key
  std::string value;   ///< in force
  std::string origin;  ///< the file that gave it, or "default"
};

struct ExtensionSettings {
  std::vector<SettingsFile> files;  ///< the user's, then the machine-wide one
  std::vector<Setting> settings;

  /// Whether an extension that starts now writes the token log.
  bool IsTokenLogOn() const;
};

/// Reads both files as the extension does; nothing is thrown or printed.
ExtensionSettings ReadExtensionSettings();

/// Where the extension writes the token log: below HOME, on macOS in its container.
std::filesystem::path TokenLogPath();

}  // namespace Report
