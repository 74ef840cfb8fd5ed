#include "softcard/state/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace SoftCard {

FileLock::FileLock(std::filesystem::path file)
    : m_file(std::move(file)), m_descriptor(open(m_file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)) {
  if (m_descriptor < 0) throw std::runtime_error(m_file.string() + ": " + std::strerror(errno));
}

FileLock::~FileLock() {
  close(m_descriptor);
}

bool FileLock::Flock(int operation) {
  while (flock(m_descriptor, operation) != 0) {
    if (errno == EWOULDBLOCK) return false;
    if (errno != EINTR) throw std::runtime_error(m_file.string() + ": " + std::strerror(errno));
  }
  return true;
}

void FileLock::Take() {
  Flock(LOCK_EX);
}

bool FileLock::TryToTake() {
  return Flock(LOCK_EX | LOCK_NB);
}

void FileLock::Release() {
  Flock(LOCK_UN);
}

}  // namespace SoftCard
