#include "report/Unreadable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Report {

std::string WhyUnreadable(const std::filesystem::path& file) {
  const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (opened < 0) return errno == ENOENT || errno == ENOTDIR ? "" : std::strerror(errno);
  struct stat status = {};
  const bool isFolder = fstat(opened, &status) == 0 && S_ISDIR(status.st_mode);
  close(opened);
  return isFolder ? std::strerror(EISDIR) : "";
}

}  // namespace Report
