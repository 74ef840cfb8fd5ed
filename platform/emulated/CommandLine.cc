// Foundation reads the process's arguments from /proc. The emulator answers for that file with one of its own making,
// in memory, which the extension's sandbox refuses. The thread's folder has the same, from the system.

#include <unistd.h>

#include <cstdio>
#include <string>

extern "C" FILE* fopen(const char* path, const char* mode) {
  const std::string own = "/proc/" + std::to_string(getpid()) + "/cmdline";
  return fopen64(path == own ? "/proc/thread-self/cmdline" : path, mode);
}
