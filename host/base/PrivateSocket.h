#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace Host {

/// A listening Unix socket that nobody but its owner reaches: mode 0600, in a folder of mode 0700.
class PrivateSocket {
 public:
  /// `path` empty: a new folder below XDG_RUNTIME_DIR or, without that, the folder for temporary files. Otherwise its
  /// folder is made when it is missing, and the socket of an agent that has ended is replaced.
  /// Throws Failure when others may enter the folder, an agent answers at `path`, or the system refuses.
  explicit PrivateSocket(std::string path);

  /// Removes the socket, and the folder if it was made for `path` empty.
  ~PrivateSocket();

  PrivateSocket(const PrivateSocket&) = delete;
  PrivateSocket& operator=(const PrivateSocket&) = delete;

  int Descriptor() const { return m_descriptor; }
  const std::string& Path() const { return m_path; }

 private:
  void Listen();

  std::string m_path;
  std::filesystem::path m_ownFolder;
  int m_descriptor = -1;
};

struct Peer {
  uid_t user;
  pid_t process;
};

/// Who is at the other end of a connected Unix socket. Nothing when the system does not tell.
std::optional<Peer> PeerOf(int socket);

}  // namespace Host
