// The executable of a bundle whose code is for another processor: starts the emulator that lies beside it, with the
// loader that lies beside it. For tests.

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/src/Foundation/StartedProgram.h"

int main(int argc, char** argv) {
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  static std::string emulator = self.parent_path() / "emulator", loader = self.string() + ".loader";
  std::vector<char*> arguments = {argv[0], strdup("-L"), strdup(QEL_ARM64_ROOT), strdup("-0"), argv[0], loader.data()};
  for (int i = 1; i < argc; ++i) {
    // The emulator does not hand a filter of system calls on to the system, so it is put in force here.
    if (std::strcmp(argv[i], "--run-nothing") == 0)
      RemainTheStartedProgram(emulator.c_str());
    else
      arguments.push_back(argv[i]);
  }
  arguments.push_back(nullptr);
  execve(emulator.c_str(), arguments.data(), environ);
  std::perror(emulator.c_str());
  return 1;
}
