#include "host/base/CoreDumps.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace Host {

void ForbidCoreDumps() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0);  // a core that is piped to a program knows no limit
}

}  // namespace Host
