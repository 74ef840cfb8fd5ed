#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "host/commands/FollowedLog.h"

namespace Host {
namespace {

// The extension writes the log and could write anything.
constexpr off_t kMostAtOnce = 16 * 1024 * 1024;
constexpr size_t kLongestLine = 1024 * 1024;

}  // namespace

std::vector<std::string> LineBuffer::Add(const std::string& text) {
  m_rest += text;
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end = m_rest.find('\n'); end != std::string::npos; start = end + 1, end = m_rest.find('\n', start))
    lines.push_back(m_rest.substr(start, end - start));
  m_rest.erase(0, start);
  if (m_rest.size() > kLongestLine) lines.push_back(std::exchange(m_rest, ""));
  return lines;
}

FollowedFile::FollowedFile(const std::filesystem::path& path) : m_path(path), m_notices(path) {}

std::vector<std::string> FollowedFile::NewLines() {
  m_notices.Take();
  return m_lines.Add(NewText());
}

std::string FollowedFile::NewText() {
  const int file = open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return "";
  struct stat status = {};
  fstat(file, &status);
  if (status.st_ino != m_file || status.st_size < m_read) m_read = 0;
  m_file = status.st_ino;
  m_read = std::max(m_read, status.st_size - kMostAtOnce);
  std::string text;
  char buffer[16384];
  for (ssize_t got; m_read < status.st_size && (got = pread(file, buffer, sizeof buffer, m_read)) > 0; m_read += got)
    text.append(buffer, static_cast<size_t>(got));
  close(file);
  return text;
}

}  // namespace Host
