#include "platform/src/Foundation/CrashReport.h"

#include <execinfo.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

constexpr int kMostCalls = 64;
alignas(16) char s_stack[64 * 1024];  // a stack that overflowed is no place for the report

/// Only what may be called in a signal handler. Addresses and names of functions, never arguments or memory.
void Report(int number) {
  constexpr char kTitle[] = "the extension crashed; its calls, the innermost first:\n";
  void* calls[kMostCalls];
  const int count = backtrace(calls, kMostCalls);
  if (write(STDERR_FILENO, kTitle, sizeof kTitle - 1) > 0) backtrace_symbols_fd(calls, count, STDERR_FILENO);
  signal(number, SIG_DFL);
  raise(number);
}

}  // namespace

void PrepareForCrash() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);  // a core that is piped to a program knows no limit
  const char* wanted = std::getenv("QEL_BACKTRACE");
  if (wanted == nullptr || std::strcmp(wanted, "1") != 0) return;

  void* call = nullptr;
  backtrace(&call, 1);  // loads what it needs, which a handler must not
  const stack_t stack = {s_stack, 0, sizeof s_stack};
  sigaltstack(&stack, nullptr);
  struct sigaction action = {};
  action.sa_handler = Report;
  action.sa_flags = static_cast<int>(SA_ONSTACK | SA_RESETHAND | SA_NODEFER);
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP}) sigaction(signal, &action, nullptr);
}
