#include "report/Unreadable.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace Report {

std::string WhyUnreadable(const std::filesystem::path& file) {
  std::error_code toldByOpening;
  const auto status = std::filesystem::status(file, toldByOpening);
  if (is_directory(status)) return std::strerror(EISDIR);
  if (is_other(status)) return "";  // opening a pipe waits for whoever writes to it
  std::FILE* const opened = std::fopen(file.c_str(), "r");
  if (opened == nullptr) return errno == ENOENT || errno == ENOTDIR ? "" : std::strerror(errno);
  std::fclose(opened);
  return "";
}

}  // namespace Report
