#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/Failure.h"
#include "host/FollowedLog.h"

namespace Host {

std::vector<std::string> LineBuffer::Add(const std::string& text) {
  m_rest += text;
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end = m_rest.find('\n'); end != std::string::npos; start = end + 1, end = m_rest.find('\n', start))
    lines.push_back(m_rest.substr(start, end - start));
  m_rest.erase(0, start);
  return lines;
}

FollowedFile::FollowedFile(std::filesystem::path path)
    : m_path(std::move(path)), m_notices(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (m_notices < 0)
    throw Failure(ExitStatus::Failed, std::string("files cannot be followed: ") + std::strerror(errno));
  Watch();
}

FollowedFile::~FollowedFile() {
  close(m_notices);
}

/// Watches the file's folder, or the nearest folder above it that exists.
void FollowedFile::Watch() {
  std::filesystem::path folder = m_path.parent_path();
  std::error_code ignored;
  while (folder.has_relative_path() && !std::filesystem::is_directory(folder, ignored)) folder = folder.parent_path();
  if (folder == m_watchedFolder && m_watch >= 0) return;
  if (m_watch >= 0) inotify_rm_watch(m_notices, m_watch);
  m_watch = inotify_add_watch(m_notices, folder.c_str(),
                              IN_MODIFY | IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE_SELF);
  m_watchedFolder = folder;
}

std::vector<std::string> FollowedFile::NewLines() {
  alignas(inotify_event) char notices[4096];
  while (true) {
    const ssize_t got = read(m_notices, notices, sizeof notices);
    if (got <= 0) break;
    for (ssize_t at = 0; at < got;) {
      const auto* notice = reinterpret_cast<const inotify_event*>(notices + at);
      if ((notice->mask & IN_IGNORED) != 0 && notice->wd == m_watch) m_watch = -1;
      at += static_cast<ssize_t>(sizeof *notice + notice->len);
    }
  }
  Watch();
  return m_lines.Add(NewText());
}

std::string FollowedFile::NewText() {
  const int file = open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return "";
  struct stat status = {};
  fstat(file, &status);
  if (status.st_ino != m_file || status.st_size < m_read) m_read = 0;
  m_file = status.st_ino;
  std::string text;
  char buffer[16384];
  for (ssize_t got; (got = pread(file, buffer, sizeof buffer, m_read)) > 0; m_read += got)
    text.append(buffer, static_cast<size_t>(got));
  close(file);
  return text;
}

}  // namespace Host
