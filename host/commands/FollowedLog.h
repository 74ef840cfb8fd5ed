/// Logs that grow while they are read.

#pragma once

#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "host/readers/PathNotices.h"

namespace Host {

/// Collects bytes into whole lines.
class LineBuffer {
 public:
  /// Returns the lines that `text` completes; what follows the last line end waits for more, unless it is longer than
  /// any line.
  std::vector<std::string> Add(const std::string& text);

 private:
  std::string m_rest;
};

class FollowedLog {
 public:
  virtual ~FollowedLog() = default;

  /// Readable when there may be new lines; -1 once no more will come.
  virtual int Descriptor() const = 0;
  /// The lines that are new since the last call. Does not wait.
  virtual std::vector<std::string> NewLines() = 0;
};

/// A file that others append to, and may delete, move or write anew, or that does not exist yet. Neither do its folders
/// have to. Of what is appended at once, more than anybody reads is left out at its beginning.
class FollowedFile : public FollowedLog {
 public:
  /// Throws Failure when the system gives no notices of changes.
  explicit FollowedFile(const std::filesystem::path& path);

  int Descriptor() const override { return m_notices.Descriptor(); }
  std::vector<std::string> NewLines() override;

 private:
  std::string NewText();

  std::filesystem::path m_path;
  PathNotices m_notices;
  ino_t m_file = 0;  ///< the one that was read last
  off_t m_read = 0;  ///< how much of it
  LineBuffer m_lines;
};

/// A program that prints a log, such as journalctl. It is ended with this object.
class FollowedProgram : public FollowedLog {
 public:
  /// `command` is the program, looked up in PATH, and its arguments. Throws Failure when it cannot be started.
  explicit FollowedProgram(const std::vector<std::string>& command);
  ~FollowedProgram() override;
  FollowedProgram(const FollowedProgram&) = delete;
  FollowedProgram& operator=(const FollowedProgram&) = delete;

  int Descriptor() const override { return m_output; }
  std::vector<std::string> NewLines() override;

 private:
  int m_output = -1;
  pid_t m_process = 0;
  LineBuffer m_lines;
};

}  // namespace Host
