#include "host/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/Failure.h"

namespace Host {
namespace {

constexpr char kIsFolder[] = "is a folder; name a file";

[[noreturn]] void Fail(const std::string& path, const std::string& problem) {
  throw Failure(ExitStatus::Failed, path + " " + problem);
}

[[noreturn]] void FailToBe(const std::string& path, const std::string& did) {
  Fail(path, "cannot be " + did + ": " + std::strerror(errno));
}

bool WriteAll(int descriptor, const Wire::Bytes& bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t written = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<size_t>(written);
  }
  return true;
}

void WriteDirectly(const std::string& path, const Wire::Bytes& bytes) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) FailToBe(path, "opened");
  const bool written = WriteAll(descriptor, bytes);
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
  if (IsFolder(path)) Fail(path, kIsFolder);
  std::error_code ignored;
  const std::string parent = std::filesystem::path(path).parent_path();
  const std::string folder = parent.empty() ? "." : parent;
  if (!IsFolder(folder)) Fail(path, "cannot be written: there is no folder " + folder);
  const bool isSpecial = std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored);
  if (access(isSpecial ? path.c_str() : folder.c_str(), W_OK) != 0) FailToBe(path, "written");
}

Wire::Bytes ReadWholeFile(const std::string& path) {
  if (IsFolder(path)) Fail(path, kIsFolder);
  std::ifstream in(path, std::ios::binary);
  if (!in) FailToBe(path, "read");
  Wire::Bytes bytes{std::istreambuf_iterator<char>(in), {}};
  if (in.bad()) FailToBe(path, "read");
  return bytes;
}

void WriteWholeFile(const std::string& path, const Wire::Bytes& bytes, Secrecy secrecy) {
  RequireWritable(path);
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return WriteDirectly(path, bytes);

  std::string fresh = path + ".XXXXXX";
  const int descriptor = mkostemp(fresh.data(), O_CLOEXEC);
  if (descriptor < 0) FailToBe(path, "created");
  const bool written = WriteAll(descriptor, bytes) && fchmod(descriptor, ModeOf(secrecy)) == 0;
  if (close(descriptor) != 0 || !written || std::rename(fresh.c_str(), path.c_str()) != 0) {
    const int reason = errno;
    unlink(fresh.c_str());
    errno = reason;
    FailToBe(path, "written");
  }
}

}  // namespace Host
