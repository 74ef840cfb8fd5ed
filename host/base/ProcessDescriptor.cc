#include "host/base/ProcessDescriptor.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace Host {

// The C library's own header for this is of no use to C++ in every version.
int ProcessDescriptor(pid_t process) {
  return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

}  // namespace Host
