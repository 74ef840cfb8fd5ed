// Compiled into every double: writes when the library comes and goes.

#include <unistd.h>

#include <string>

namespace {

void Write(const std::string& what) {
  const std::string line = LIBRARY_NAME " " + what + "\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) _exit(2);
}

__attribute__((constructor)) void Opened() {
  Write("opened");
}

__attribute__((destructor)) void Closed() {
  Write("closed");
}

}  // namespace
