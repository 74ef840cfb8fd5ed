#include "softcard/state/Installation.h"

namespace SoftCard {

std::filesystem::path InstalledFolder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto folder = program.parent_path().parent_path() / "lib/qeltoken";
  return std::filesystem::is_directory(folder, error) ? folder : std::filesystem::path();
}

}  // namespace SoftCard
