// Runs the Mach-O executable that lies beside this program and has its name with ".macho" behind it. For tests: with
// this program in the place of an extension's executable, the bundle that ships runs on Linux.

#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "platform/macho/Loading.h"

namespace {

using Code = int (*)(int, char**, char**, char**);  // the entry and the initializers

/// It stays as long as the process: what the code registers for its end runs after main.
const MachO::Image* Load(const std::string& path) {
  auto* const image = new MachO::Image(path);
  ApplyFixups(*image, MachO::ReadImports());
  RegisterClasses(*image);
  RegisterFrames(*image);
  image->Protect();
  return image;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string path = std::filesystem::read_symlink("/proc/self/exe").string() + ".macho";
  const MachO::Image* image = nullptr;
  try {
    image = Load(path);
  } catch (const MachO::Unusable& problem) {
    std::fprintf(stderr, "%s cannot be run: %s\n", path.c_str(), problem.what());
    return 1;
  }
  char* none[] = {nullptr};
  for (const Code initializer : image->ArrayIn<Code>("__mod_init_func")) initializer(argc, argv, environ, none);
  for (const uint32_t offset : image->ArrayIn<uint32_t>("__init_offsets"))
    reinterpret_cast<Code>(image->FromHeader(offset))(argc, argv, environ, none);
  return reinterpret_cast<Code>(image->FromHeader(image->Entry()))(argc, argv, environ, none);
}
