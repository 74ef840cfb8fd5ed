#pragma once

#include <filesystem>

namespace Host {

/// Notices of changes to a file that may be written, replaced, moved, deleted and made again, with or without its
/// folders.
class PathNotices {
 public:
  /// Throws Failure when the system gives no notices.
  explicit PathNotices(std::filesystem::path path);
  ~PathNotices();
  PathNotices(const PathNotices&) = delete;
  PathNotices& operator=(const PathNotices&) = delete;

  /// Readable when something may have changed.
  int Descriptor() const { return m_notices; }
  /// Takes the notices that have come; what has changed is for the caller to find out. Does not wait.
  void Take();

 private:
  void Watch();

  std::filesystem::path m_path;
  std::filesystem::path m_folder;  ///< the nearest one that exists
  int m_notices = -1;
  int m_watch = -1;
};

}  // namespace Host
