#include "host/readers/PathNotices.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/base/Failure.h"

namespace Host {

PathNotices::PathNotices(std::filesystem::path path)
    : m_path(std::move(path)), m_notices(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (m_notices < 0)
    throw Failure(ExitStatus::Failed, std::string("files cannot be followed: ") + std::strerror(errno));
  Watch();
}

PathNotices::~PathNotices() {
  close(m_notices);
}

void PathNotices::Watch() {
  std::filesystem::path folder = m_path.parent_path();
  std::error_code ignored;
  while (folder.has_relative_path() && !std::filesystem::is_directory(folder, ignored)) folder = folder.parent_path();
  if (folder == m_folder && m_watch >= 0) return;
  if (m_watch >= 0) inotify_rm_watch(m_notices, m_watch);
  m_watch = inotify_add_watch(m_notices, folder.c_str(),
                              IN_MODIFY | IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE_SELF);
  m_folder = folder;
}

void PathNotices::Take() {
  alignas(inotify_event) char notices[4096];
  for (ssize_t got; (got = read(m_notices, notices, sizeof notices)) > 0;) {
    for (ssize_t at = 0; at < got;) {
      const auto* notice = reinterpret_cast<const inotify_event*>(notices + at);
      if ((notice->mask & IN_IGNORED) != 0 && notice->wd == m_watch) m_watch = -1;
      at += static_cast<ssize_t>(sizeof *notice + notice->len);
    }
  }
  Watch();
}

}  // namespace Host
