// Makes PKCS#11 modules and tokens in a process of its own, as its arguments say, and writes what comes of it:
//
//   module              a module, at once destroyed
//   token, quietly      a token, at once released; with an error out-pointer, or without
//   keep                a token that is released with the program's end
//   fail CALL RESULT    the next call of that name fails
//   dialog FILE         where the PIN dialog library is; an empty name for nowhere
//   library FILE        the same for the PKCS#11 library, instead of the bundle's
//   log                 from now on the log's lines are written too
//   no-errors           from now on the system log takes no errors

#import <CryptoTokenKit/CryptoTokenKit.h>
#include <iniparser/iniparser.h>

#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>

#include <dlfcn.h>

#include "log/QELLog.h"
#include "log/TokenLog.h"
#include "pkcs11/QELTokenException.h"
#include "pkcs11/TarnwellPkcs11Module.h"
#import "platform/testing/TKTesting.h"
#include "tests/libraries/ProbeCard.h"
#include "tests/support/LoaderRedirect.h"
#include "tests/support/SystemLogLines.h"
#import "token/QELToken.h"
#import "token/QELTokenDriver.h"

// The program's definition wins over the library's.
extern "C" dictionary *iniparser_load(const char *path) {
  const std::string text = path;
  std::printf("settings read from %s\n", text.substr(text.rfind('/') + 1).c_str());
  return reinterpret_cast<decltype(&iniparser_load)>(dlsym(RTLD_NEXT, "iniparser_load"))(path);
}

namespace {

class WrittenLog : public QELLog::LoggerImpl {
 public:
  ~WrittenLog() override { std::puts("logging ended"); }
  void Log(QELLog::LogLevel level, const std::string &text) override {
    std::printf("log %d: %s\n", static_cast<int>(level), text.c_str());
  }
};

/// Writes what the system log got in its scope, at the scope's end; but for NSLog's lines about missing settings files.
class WrittenSystemLog {
 public:
  ~WrittenSystemLog() {
    for (const std::string &line : SystemLogLines(m_log)) {
      if (line.rfind("NSLog", 0) != 0) std::printf("system log %s\n", line.c_str());
    }
  }

 private:
  SystemLog::Captured m_log;
};

void MakeModule() {
  const WrittenSystemLog systemLog;
  const auto failure = CatchTokenException([] {
    const TarnwellPkcs11Module module;
    std::printf("module with%s slot type\n", module.GetSlotTypeFn() != nullptr ? "" : "out");
  });
  if (failure) std::printf("failure %d: %s\n", static_cast<int>(failure->code), failure->message.c_str());
}

/// Autoreleased.
QELToken *MakeToken(NSError **error) {
  const WrittenSystemLog systemLog;
  TKSmartCardSlot *slot = [TKSmartCardSlot slotWithName:@"Example Reader 0"];
  TKSmartCard *card = [[[TKSmartCard alloc] initWithSlot:slot] autorelease];
  QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
  const LogClient *const before = QELTok::TokenLogClient();
  auto *token = (QELToken *)[driver tokenDriver:driver createTokenForSmartCard:card AID:nil error:error];
  if (QELTok::TokenLogClient() != before) std::puts("token log started");
  return token;
}

void TellToken(QELToken *token, NSError *error) {
  if (token != nil) {
    std::printf("token %s\n", [[token instanceID] UTF8String]);
  } else if (error != nil) {
    std::printf("no token: %s %ld %s\n", [[error domain] UTF8String], static_cast<long>([error code]),
                [[error localizedDescription] UTF8String]);
  } else {
    std::puts("no token");
  }
}

const char *Take(char **&argument) {
  if (*argument == nullptr) std::exit(2);
  return *argument++;
}

}  // namespace

int main(int, char **argv) {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  // Lives longer than the process's modules, which call it at exit.
  static ProbeCard &card = *new ProbeCard;
  static std::list<LoaderRedirect> &redirects = *new std::list<LoaderRedirect>;

  for (char **argument = argv + 1; *argument != nullptr;) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const std::string action = *argument++;
    NSError *error = nil;
    if (action == "module") {
      MakeModule();
    } else if (action == "token") {
      QELToken *token = MakeToken(&error);
      TellToken(token, error);
    } else if (action == "quietly") {
      TellToken(MakeToken(nullptr), nil);
    } else if (action == "keep") {
      TellToken([MakeToken(&error) retain], error);
    } else if (action == "fail") {
      const char *call = Take(argument);
      card.Fail(call, std::strtoul(Take(argument), nullptr, 0));
    } else if (action == "dialog") {
      redirects.emplace_back("QELPINDialog", Take(argument));
    } else if (action == "library") {
      redirects.emplace_back("libQELTarnwellPkcs11", Take(argument));
    } else if (action == "log") {
      QELLog::SetLogger(new WrittenLog);
      QELLog::SetLevel(QELLog::LogLevel::Debug);
    } else if (action == "no-errors") {
      static const SystemLog::ErrorLevelDisabled disabled;
    } else {
      return 2;
    }
    [pool release];
  }
  std::puts("end of main");
  return 0;
}
