#include "host/base/Output.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"

namespace Host {
namespace {

void OpenForNothing(int descriptor, int flags) {
  if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) open("/dev/null", flags);  // takes the lowest free number
}

void Print(const void* bytes, size_t length) {
  if (WriteAll(STDOUT_FILENO, bytes, length)) return;
  throw Failure(ExitStatus::Failed,
                errno == EPIPE ? "" : std::string("standard output cannot be written: ") + std::strerror(errno));
}

}  // namespace

void PrepareStandardStreams() {
  OpenForNothing(STDIN_FILENO, O_WRONLY);
  OpenForNothing(STDOUT_FILENO, O_RDONLY);
  OpenForNothing(STDERR_FILENO, O_RDONLY);
  struct sigaction nothing = {};
  nothing.sa_handler = [](int) {};  // not SIG_IGN, which programs that are started from here would inherit
  nothing.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &nothing, nullptr);
}

bool WriteAll(int descriptor, const void* bytes, size_t length) {
  const auto* const from = static_cast<const char*>(bytes);
  for (size_t done = 0; done < length;) {
    const ssize_t written = write(descriptor, from + done, length - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<size_t>(written);
  }
  return true;
}

void Print(const std::string& text) {
  Print(text.data(), text.size());
}

void Print(const Wire::Bytes& bytes) {
  Print(bytes.data(), bytes.size());
}

bool IsStandardOutput(const std::string& path) {
  if (path == "-") return true;
  struct stat named = {}, output = {};
  return stat(path.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &output) == 0 && named.st_dev == output.st_dev &&
         named.st_ino == output.st_ino;
}

std::string ShellWord(const std::string& text) {
  std::string word = "'";
  for (const char character : text) word += character == '\'' ? "'\\''" : std::string(1, character);
  return word + "'";
}

}  // namespace Host
