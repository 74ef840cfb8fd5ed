#include "host/base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "host/base/Failure.h"
#include "host/base/Output.h"

namespace Host {
namespace {

constexpr char kStandard[] = "-";
constexpr char kIsFolder[] = "is a folder; name a file";

[[noreturn]] void Fail(const std::string& path, const std::string& problem) {
  throw Failure(ExitStatus::Failed, path + " " + problem);
}

[[noreturn]] void FailToBe(const std::string& path, const std::string& did) {
  Fail(path, "cannot be " + did + ": " + std::strerror(errno));
}

void WriteDirectly(const std::string& path, const Wire::Bytes& bytes) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) FailToBe(path, "opened");
  const bool written = WriteAll(descriptor, bytes.data(), bytes.size());
  if (close(descriptor) != 0 || !written) FailToBe(path, "written");
}

mode_t ModeOf(Secrecy secrecy) {
  if (secrecy == Secrecy::Private) return 0600;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool IsFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

}  // namespace

void RequireWritable(const std::string& path) {
  if (path == kStandard) {
    if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) == O_RDONLY) Fail("standard output", "is closed");
    return;
  }
  if (IsFolder(path)) Fail(path, kIsFolder);
  std::error_code ignored;
  const std::string parent = std::filesystem::path(path).parent_path();
  const std::string folder = parent.empty() ? "." : parent;
  if (!IsFolder(folder)) Fail(path, "cannot be written: there is no folder " + folder);
  const bool isSpecial = std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored);
  if (access(isSpecial ? path.c_str() : folder.c_str(), W_OK) != 0) FailToBe(path, "written");
}

Wire::Bytes ReadWholeFile(const std::string& path) {
  const bool standard = path == kStandard;
  const std::string name = standard ? "standard input" : path;
  if (!standard && IsFolder(path)) Fail(path, kIsFolder);
  const int descriptor = standard ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) FailToBe(name, "read");
  Wire::Bytes bytes;
  ssize_t got = 0;
  for (uint8_t block[16384]; (got = read(descriptor, block, sizeof block)) > 0 || (got < 0 && errno == EINTR);)
    if (got > 0) bytes.insert(bytes.end(), block, block + got);
  const int reason = errno;
  close(descriptor);
  errno = reason;
  if (got < 0) FailToBe(name, "read");
  return bytes;
}

void WriteWholeFile(const std::string& path, const Wire::Bytes& bytes, Secrecy secrecy) {
  RequireWritable(path);
  if (path == kStandard) return Print(bytes);
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return WriteDirectly(path, bytes);

  std::string fresh = path + ".XXXXXX";
  const int descriptor = mkostemp(fresh.data(), O_CLOEXEC);
  if (descriptor < 0) FailToBe(path, "created");
  const bool written = WriteAll(descriptor, bytes.data(), bytes.size()) && fchmod(descriptor, ModeOf(secrecy)) == 0;
  if (close(descriptor) != 0 || !written || std::rename(fresh.c_str(), path.c_str()) != 0) {
    const int reason = errno;
    unlink(fresh.c_str());
    errno = reason;
    FailToBe(path, "written");
  }
}

}  // namespace Host
