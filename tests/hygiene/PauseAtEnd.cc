// Preloaded into a program, keeps it where it would end, with what it has left in its memory, until its input ends.

#include <unistd.h>

namespace {

[[gnu::destructor]] void Pause() {
  char byte = 0;
  while (read(STDIN_FILENO, &byte, 1) > 0 && byte != '.') {
  }
}

}  // namespace
