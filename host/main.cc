#include <sys/prctl.h>
#include <sys/resource.h>

#include "host/CommandLine.h"

/// A crash must not leave a PIN in a file. The limit is the extension's too.
static void ForbidCoreDumps() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);
}

int main(int argc, char** argv) {
  ForbidCoreDumps();
  return Host::RunCommandLine(argc, argv);
}
