#pragma once

#include <sys/types.h>

namespace Host {

/// A descriptor that can be read from once `process`, a child of this one, has ended. The caller closes it. -1, and
/// errno, when there is none.
int ProcessDescriptor(pid_t process);

}  // namespace Host
