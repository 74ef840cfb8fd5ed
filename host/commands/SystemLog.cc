#include "host/commands/SystemLog.h"

namespace Host {
namespace {

constexpr char kIdentifier[] = "QELToken";

}  // namespace

SystemLog FindSystemLog(const std::filesystem::path& root) {
  std::error_code ignored;
  if (std::filesystem::exists(root / "run/systemd/journal", ignored))
    return {{"journalctl", "--quiet", "--follow", "--lines=10", "--identifier", kIdentifier}, {}};
  for (const char* file : {"var/log/syslog", "var/log/messages", "var/log/user.log"})
    if (std::filesystem::exists(root / file, ignored)) return {{}, root / file};
  return {};
}

std::unique_ptr<FollowedLog> Follow(const SystemLog& log) {
  if (!log.command.empty()) return std::make_unique<FollowedProgram>(log.command);
  if (!log.file.empty()) return std::make_unique<FollowedFile>(log.file);
  return nullptr;
}

bool IsFromExtension(const std::string& line) {
  return line.find(std::string(" ") + kIdentifier + "[") != std::string::npos ||
         line.find(std::string(" ") + kIdentifier + ":") != std::string::npos;
}

}  // namespace Host
