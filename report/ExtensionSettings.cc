#include "report/ExtensionSettings.h"

#include <QELBuildConstants.h>
#include <iniparser.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "report/Unreadable.h"

namespace Report {
namespace {

constexpr char kLogLevel[] = "Pkcs11:LogLevelPkcs11";
constexpr char kLogFile[] = "Global:LogFile";

struct Dictionary {
  SettingsFile file;
  std::unique_ptr<dictionary, decltype(&iniparser_freedict)> entries{nullptr, iniparser_freedict};
};

/// The line of the parser's first message about the file that it reads now.
int theLine = 0;

/// "iniparser: syntax error in FILE (LINE):", then the line itself.
int NoteLine(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char message[1024] = "";
  vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  const char* number = std::strrchr(message, '(');
  if (theLine == 0 && number && std::strstr(message, "error")) theLine = std::atoi(number + 1);
  return 0;
}

Dictionary Read(const std::filesystem::path& path) {
  Dictionary read;
  read.file.path = path;
  read.file.problem = WhyUnreadable(path);
  if (!read.file.problem.empty()) read.file.state = SettingsFile::State::Unreadable;
  std::error_code ignored;
  if (!read.file.problem.empty() || !std::filesystem::exists(path, ignored)) return read;
  theLine = 0;
  read.entries.reset(iniparser_load(path.c_str()));
  read.file.state = read.entries ? SettingsFile::State::Read : SettingsFile::State::NotUnderstood;
  read.file.line = theLine;
  return read;
}

/// The home folder is the password database's, as it is for the extension.
std::filesystem::path UserFile() {
  const passwd* user = getpwuid(getuid());
  return std::string(user ? user->pw_dir : "") + "/Library/Preferences/Tarnwell.ini";
}

Setting Find(const std::vector<Dictionary>& dictionaries, const char* key, const std::string& otherwise) {
  for (const Dictionary& read : dictionaries)
    if (iniparser_find_entry(read.entries.get(), key) != 0)
      return {key, iniparser_getstring(read.entries.get(), key, otherwise.c_str()), read.file.path};
  return {key, otherwise, "default"};
}

}  // namespace

bool ExtensionSettings::IsTokenLogOn() const {
  for (const Setting& setting : settings)
    if (setting.key == kLogLevel) return std::strtol(setting.value.c_str(), nullptr, 0) > 0;
  return false;
}

ExtensionSettings ReadExtensionSettings() {
  iniparser_set_error_callback(NoteLine);
  std::vector<Dictionary> dictionaries;
  dictionaries.push_back(Read(UserFile()));
  dictionaries.push_back(Read(QEL_IN_LIBRARY("/Preferences/" QEL_VENDOR_ID ".Tarnwell.ini")));
  ExtensionSettings read;
  for (const Dictionary& each : dictionaries) read.files.push_back(each.file);
  read.settings.push_back(Find(dictionaries, kLogLevel, "0"));
  read.settings.push_back(Find(dictionaries, kLogFile, TokenLogPath()));
  return read;
}

std::filesystem::path TokenLogPath() {
  const char* home = std::getenv("HOME");
  return std::string(home ? home : "") + "/" QEL_TOKEN_LOG_BELOW_HOME;
}

}  // namespace Report
