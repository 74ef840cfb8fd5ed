// Does what its arguments say, one after the other, as a process of its own: the path of the token log is fixed when
// the program is loaded, and the log starts once.

#include <dlfcn.h>
#include <grp.h>
#include <iconv.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "log/DefaultLogPath.h"
#include "log/InstalledInterface.h"
#include "log/LogClient.h"
#include "log/QELLog.h"
#include "log/QELLoggerImpl.h"
#include "log/QEL_LogImpl_File.h"
#include "log/TokenLog.h"
#include "util/QELIconv.h"

namespace {

/// Logs while the process's statics are destroyed, when QEL_TEST_LOG_AT_EXIT names the moment.
struct LogsAtExit {
  explicit LogsAtExit(const char* moment) : m_moment(moment) {}
  ~LogsAtExit() {
    const char* const moments = getenv("QEL_TEST_LOG_AT_EXIT");
    if (moments && std::strstr(moments, m_moment)) QELLog::Error() << m_moment;
  }
  const char* m_moment;
};

[[gnu::init_priority(101)]] LogsAtExit g_madeFirst("after all other statics");

/// The process's sink before the token brings its own.
class PrintingSink : public QELLog::LoggerImpl {
 public:
  void Log(QELLog::LogLevel level, const std::string& message) override {
    printf("printed %d %s\n", static_cast<int>(level), message.c_str());
  }
};

bool g_noConverter = false;
std::vector<std::string> g_arguments;
size_t g_next = 0;

const std::string& Take() {
  if (g_next == g_arguments.size()) exit(2);
  return g_arguments[g_next++];
}

QELLog::LogLevel TakeLevel() {
  return static_cast<QELLog::LogLevel>(std::stoi(Take()));
}

void Scope(bool inFlight) {
  struct Leaves {
    std::unique_ptr<QELLog::LoggerImpl::FuncScope> scope;
  };
  try {
    const Leaves leaves{QELLog::Enter("file.cc", 120, "function", QELLog::LogLevel::Debug)};
    QELLog::Info() << "inside";
    if (inFlight) throw 1;
  } catch (int) {
    QELLog::Info() << "caught";
  }
}

void Repeat(const std::string& text, int times) {
  for (int i = 0; i < times; ++i) QELLog::Info() << text;
}

void Do(const std::string& command) {
  if (command == "start") {
    QELTok::InitLogging();
  } else if (command == "log") {
    const QELLog::LogLevel level = TakeLevel();
    QELLog::Dynamic(level) << Take();
  } else if (command == "sink") {  // past QELLog's own checks
    const QELLog::LogLevel level = TakeLevel();
    QELTok::QELLoggerImpl().Log(level, Take());
  } else if (command == "level") {
    printf("level %d\n", static_cast<int>(QELLog::GetLevel()));
  } else if (command == "setLevel") {
    QELLog::SetLevel(TakeLevel());
  } else if (command == "hasSink") {
    puts(QELLog::HasSetLogger() ? "sink" : "no sink");
  } else if (command == "ownSink") {
    QELLog::SetLogger(new PrintingSink);
  } else if (command == "client") {
    const LogClient* const client = QELTok::TokenLogClient();
    puts(!client ? "no client" : client->IsFatal() ? "client with a logger" : "client without a logger");
  } else if (command == "prefix") {
    InstalledInterface::SetPrefix(L"Prefix");
  } else if (command == "installed") {
    LogClient(L"Other").Debug(L"from another client");
  } else if (command == "otherProvider") {  // in the place of the token's
    InstalledInterface::Install(nullptr);
    QEL_LogImpl_File::Configure("/nowhere/file.log", 0, "C");
  } else if (command == "fileLevel") {  // the level that a logger gets when it is made now
    printf("file level %s\n", QEL_LogImpl_File(nullptr).IsLevel(1) ? "on" : "off");
  } else if (command == "scope") {
    Scope(Take() == "inFlight");
  } else if (command == "path") {
    puts(QELTok::DefaultLogPath().c_str());
  } else if (command == "home") {
    setenv("HOME", Take().c_str(), 1);
  } else if (command == "remove") {
    std::filesystem::remove(QELTok::DefaultLogPath());
  } else if (command == "repeat") {
    const int times = std::stoi(Take());
    const size_t length = std::stoul(Take());
    Repeat(std::string(length, Take().at(0)), times);
  } else if (command == "threads") {
    const int times = std::stoi(Take());
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'a' + 8; ++letter) {
      threads.emplace_back([=] { Repeat(std::string(100, letter), times); });
    }
    for (std::thread& thread : threads) thread.join();
  } else if (command == "encoding") {
    QELIconv::SetDefaultEncoding(Take());
  } else if (command == "noConverter") {
    g_noConverter = true;
  } else if (command == "dropPrivileges") {
    constexpr uid_t kNobody = 65534;
    if (getuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) exit(3);
  } else if (command == "staticLogger") {
    static const LogsAtExit madeLast("before the token log");
  } else {
    exit(2);
  }
}

}  // namespace

// The program's definition wins: the system has no converter when it is out of memory or file descriptors.
extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto next = reinterpret_cast<decltype(&iconv_open)>(dlsym(RTLD_NEXT, "iconv_open"));
  if (!g_noConverter) return next(to, from);
  errno = EMFILE;
  return reinterpret_cast<iconv_t>(-1);
}

int main(int argc, char** argv) {
  g_arguments.assign(argv + 1, argv + argc);
  while (g_next < g_arguments.size()) Do(Take());
  puts("done");
  return 0;
}
