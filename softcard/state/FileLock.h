#ifndef SOFTCARD_FILELOCK_H
#define SOFTCARD_FILELOCK_H

#include <filesystem>

namespace SoftCard {

/// A lock between processes: a file that one of them has at a time, until this object or its process ends, or it is
/// released.
class FileLock {
 public:
  /// Makes the file when it is missing and does not take it yet. Throws std::runtime_error, naming it.
  explicit FileLock(std::filesystem::path file);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Waits until nobody else has it. Throws std::runtime_error, naming the file.
  void Take();

  /// Returns false when somebody else has it. Throws std::runtime_error, naming the file.
  bool TryToTake();

  void Release();

 private:
  bool Flock(int operation);

  std::filesystem::path m_file;
  int m_descriptor;
};

}  // namespace SoftCard

#endif
