// Answers, a line each, what its arguments ask of the settings of a fresh process. The machine-wide file is redirected
// to the path in QEL_TEST_MACHINE_FILE. What went to the system log stands on standard error, marked as such.

#import <Foundation/Foundation.h>
#include <QELBuildConstants.h>
#include <dlfcn.h>
#include <objc/runtime.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/testing/LiveObjectCount.h"
#include "settings/QELSettings.h"
#include "tests/support/SystemLogLines.h"

namespace {

std::set<const dictionary *> g_live;
bool g_actsAsAnother = false;
std::string g_home;  // instead of the password database's, unless empty

template <typename Function>
Function *Next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The program's definitions win over the libraries'.
extern "C" FILE *fopen(const char *path, const char *mode) {
  const bool machineWide = std::strcmp(path, QEL_LIBRARY_DIR "/Preferences/" QEL_VENDOR_ID ".Tarnwell.ini") == 0;
  return Next<decltype(fopen)>("fopen")(machineWide ? getenv("QEL_TEST_MACHINE_FILE") : path, mode);
}

extern "C" passwd *getpwuid(uid_t user) {
  passwd *const entry = Next<decltype(getpwuid)>("getpwuid")(user);
  if (entry && !g_home.empty()) entry->pw_dir = g_home.data();
  return entry;
}

extern "C" uid_t geteuid() {
  return g_actsAsAnother ? getuid() + 1 : getuid();
}

extern "C" dictionary *iniparser_load(const char *path) {
  dictionary *const loaded = Next<decltype(iniparser_load)>("iniparser_load")(path);
  if (loaded) g_live.insert(loaded);
  return loaded;
}

extern "C" void iniparser_freedict(dictionary *freed) {
  g_live.erase(freed);
  Next<decltype(iniparser_freedict)>("iniparser_freedict")(freed);
}

namespace {

/// The next argument; a question that lacks one is a mistake in the test.
const char *Take(char **&argument) {
  if (!*argument) exit(2);
  return *argument++;
}

/// What NSLog meets where it cannot write.
void RaiseInsteadOfWriting(NSString *) {
  [NSException raise:NSGenericException format:@"no place to write to"];
}

/// Takes its time, so that no thread is done before the others have come.
id InitSlowly(id self, SEL selector) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return reinterpret_cast<id (*)(id, SEL)>([NSObject instanceMethodForSelector:selector])(self, selector);
}

/// How many instances eight threads get that all ask first.
size_t InstancesOfEightThreads() {
  class_addMethod([QELSettings class], @selector(init), reinterpret_cast<IMP>(&InitSlowly), "@@:");
  std::vector<QELSettings *> seen(8);
  std::vector<std::thread> threads;
  for (QELSettings *&slot : seen) threads.emplace_back([&slot] { slot = [QELSettings getGlobalSettings]; });
  for (std::thread &thread : threads) thread.join();
  return std::set<QELSettings *>(seen.begin(), seen.end()).size();
}

void Answer(const std::string &question, char **&argument) {
  if (question == "instances") {
    printf("%zu\n", InstancesOfEightThreads());
    return;
  }
  QELSettings *const settings = [QELSettings getGlobalSettings];
  if (question == "load") {
    [settings loadSettings];
  } else if (question == "actAsAnother") {
    g_actsAsAnother = true;
  } else if (question == "home") {
    g_home = Take(argument);
  } else if (question == "loaded") {
    puts([settings loadCalled] ? "yes" : "no");
  } else if (question == "logging") {
    puts([settings loggingEnabled] ? "on" : "off");
  } else if (question == "logPath") {
    puts([[settings logPath] UTF8String]);
  } else if (question == "int") {
    const char *const key = Take(argument);
    printf("%d\n", [settings getInt:key notfound:atoi(Take(argument))]);
  } else if (question == "string") {
    const char *const key = Take(argument);
    NSString *const value = [settings getString:key def:Take(argument)];
    puts(value ? [value UTF8String] : "nil");
  } else if (question == "release") {
    QELSettings *const own = [[QELSettings alloc] init];
    for (int loads = atoi(Take(argument)); loads > 0; --loads) [own loadSettings];
    const size_t loaded = g_live.size();
    [own release];
    printf("%zu of %zu left\n", g_live.size(), loaded);
  } else if (question == "objects") {
    const long left = ObjectsLeftBehind([settings] {
      QELSettings *const own = [[QELSettings alloc] init];
      [own loadSettings];
      [own release];
      [settings getString:"Section:No key of that name" def:"text"];
    });
    printf("%ld left\n", left);
  } else if (question == "complaints that raise") {
    _NSLog_printf_handler = RaiseInsteadOfWriting;
    printf("%ld left\n", ObjectsLeftBehind([] { log_iniparser_error("complaint %d about %s", 7, "a file"); }));
  } else if (question == "complain") {
    printf("%d\n", log_iniparser_error("complaint %d about %s", 7, "a file"));
  } else {
    exit(2);
  }
}

}  // namespace

int main(int, char **argv) {
  @autoreleasepool {
    const SystemLog::Captured systemLog;
    for (char **argument = argv + 1; *argument;) {
      const std::string question = *argument++;
      Answer(question, argument);
    }
    for (std::string line : SystemLogLines(systemLog)) {
      std::replace(line.begin(), line.end(), '\n', '|');
      fprintf(stderr, "system log, %s\n", line.c_str());
    }
  }
  return 0;
}
