#include "tests/systemfaults/Operations.h"

#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "log/InstalledInterface.h"
#include "log/LogClient.h"
#include "log/QELLog.h"
#include "log/QELLoggerImpl.h"
#include "log/QEL_LogImpl_Callback.h"
#include "log/TokenLog.h"
#include "tests/tokenlog/LogFile.h"
#include "util/QELIconv.h"

namespace {

namespace fs = std::filesystem;

/// A home of the program's own, before the path of the token log is fixed.
class Home {
 public:
  Home() {
    char folder[] = "/tmp/qel-systemfaults-XXXXXX";
    m_path = mkdtemp(folder);
    fs::create_directories(m_path / "Documents");
    fs::create_directories(m_path / "Library/Preferences");
    std::ofstream(m_path / "Library/Preferences/Tarnwell.ini") << "[Pkcs11]\nLogLevelPkcs11 = 1\n";
    setenv("HOME", m_path.c_str(), 1);
  }
  ~Home() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  const fs::path& Path() const { return m_path; }

 private:
  fs::path m_path;
};

[[gnu::init_priority(101)]] Home g_home;

fs::path TokenLog() {
  return g_home.Path() / "Documents/QELToken.log";
}

std::string g_text;
std::wstring g_wide;
std::unique_ptr<LogClient> g_client;

void Nothing() {}

/// A conversion in which something has to be escaped, so that it takes several converters.
void ConvertWithAnEscape() {
  g_text = QELIconv::Convert<char, char>("a\xC3\xA9z", "UTF-8", "ASCII");
}

void StartTokenLog() {
  fs::remove(TokenLog());
  QELTok::InitLogging();
}

/// What the token log holds after one more line that nothing disturbs.
std::string LinesOfTokenLog() {
  QELTok::QELLoggerImpl().Log(QELLog::LogLevel::Info, "next");
  std::string text;
  for (const std::string& line : LogTexts(TokenLog())) text += line + "|";
  return text;
}

void WriteLine() {
  static const std::string message = "a line that is longer than a short string: gr\xC3\xBC\xC3\x9F";
  QELTok::QELLoggerImpl().Log(QELLog::LogLevel::Error, message);
}

void InstallCallback() {
  g_text.clear();
  QEL_LogInterface callback{};
  QEL_LogImpl_Callback::GetInterface(&callback);
  QEL_LogImpl_Callback::Configure([](auto, const char*, const char* message) { g_text += message; },
                                  QEL_LogImpl_Callback::LogLevel::Debug, "C");
  InstalledInterface::Install(&callback);
}

void MakeCallbackClient() {
  InstallCallback();
  g_client = std::make_unique<LogClient>(L"a name that is longer than a short string");
}

void TellCallback() {
  g_client->Info(L"a message that is longer than a short string");
}

std::string ToldAndOnce() {
  g_client->Info(L"|next");
  g_client.reset();
  InstalledInterface::Install(nullptr);
  return g_text;
}

alignas(LogClient) unsigned char g_place[sizeof(LogClient)];
LogClient* g_placed = nullptr;

void MakeClient() {
  g_placed = new (g_place) LogClient(L"another name that is longer than a short string");
}

std::string LevelOfClient() {
  const std::string text = g_placed->IsDebug() ? "logger" : "no logger";
  g_placed->~LogClient();
  InstalledInterface::Install(nullptr);
  return text;
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const std::vector<Operation> operations = {
      {"convert", [] { g_text = "nothing"; }, ConvertWithAnEscape, [] { return g_text; }},
      {"start", [] { fs::remove(TokenLog()); }, QELTok::InitLogging,
       [] {
         QELTok::InitLogging();
         return LinesOfTokenLog();
       }},
      {"line", StartTokenLog, WriteLine, LinesOfTokenLog},
      {"callback", MakeCallbackClient, TellCallback, ToldAndOnce},
      {"client", InstallCallback, MakeClient, LevelOfClient},
      {"settings", Nothing, LoadSettings, LoadedSettings},
  };
  return operations;
}
