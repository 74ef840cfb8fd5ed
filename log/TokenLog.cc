#include "log/TokenLog.h"

#include <memory>
#include <utility>

#include "log/DefaultLogPath.h"
#include "log/InstalledInterface.h"
#include "log/QELLog.h"
#include "log/QELLoggerImpl.h"
#include "log/QEL_LogImpl_File.h"

namespace QELTok {

namespace {

constexpr int kFileLevel = 5;

/// The client, for those who write. Never destroyed itself, so that whoever logs late in the process's exit finds null.
LogClient* g_client = nullptr;

/// Owns the client, from load to exit. What a line passes through and the exit destroys is made before it and so
/// destroyed after it.
class TokenLog {
 public:
  TokenLog() {
    DefaultLogPath();
    QELLog::GetLogger();
    const QEL_LogImpl_File provider(nullptr);
    ReplaceClient(nullptr);
  }

  /// Takes the sink out as well when it is the token's: whoever logs later writes into nothing.
  ~TokenLog() {
    if (dynamic_cast<QELLoggerImpl*>(QELLog::GetLogger().get())) {
      QELLog::SetLogger(std::shared_ptr<QELLog::LoggerImpl>());
    }
    g_client = nullptr;
  }

  void ReplaceClient(const wchar_t* name) {
    auto client = std::make_unique<LogClient>(name);
    g_client = client.get();
    m_client = std::move(client);
  }

 private:
  std::unique_ptr<LogClient> m_client;
};

TokenLog& TheTokenLog() {
  static TokenLog tokenLog;
  return tokenLog;
}

[[maybe_unused]] const TokenLog& g_madeAtLoad = TheTokenLog();

}  // namespace

LogClient* TokenLogClient() {
  return g_client;
}

QELLog::LogLevel EnabledLevel(const LogClient& client) {
  if (client.IsSecret()) return QELLog::LogLevel::Secret;
  if (client.IsDebug()) return QELLog::LogLevel::Debug;
  if (client.IsInfo()) return QELLog::LogLevel::Info;
  if (client.IsWarning()) return QELLog::LogLevel::Warning;
  if (client.IsError()) return QELLog::LogLevel::Error;
  if (client.IsFatal()) return QELLog::LogLevel::Fatal;
  return QELLog::LogLevel::None;
}

void InitLogging() {
  QEL_LogInterface file{};
  QEL_LogImpl_File::GetInterface(&file);
  QEL_LogImpl_File::Configure(DefaultLogPath().c_str(), kFileLevel, "");
  InstalledInterface::Install(&file);
  TheTokenLog().ReplaceClient(L".QELToken");  // absolute: no prefix
  if (QELLog::HasSetLogger()) return;
  QELLog::SetLogger(new QELLoggerImpl);
  QELLog::SetLevel(EnabledLevel(*g_client));
}

}  // namespace QELTok
