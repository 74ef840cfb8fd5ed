#include "host/base/PrivateSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/base/Failure.h"

namespace Host {
namespace {

constexpr int kBacklog = 64;

[[noreturn]] void Fail(const std::string& path, const std::string& problem) {
  throw Failure(ExitStatus::Failed, "no socket at " + path + ": " + problem);
}

std::filesystem::path MakeOwnFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::filesystem::path parent = runtime && *runtime ? runtime : std::filesystem::temp_directory_path();
  std::string name = parent / "ctkhost-XXXXXX";
  if (!mkdtemp(name.data())) Fail(name, std::strerror(errno));
  return name;
}

/// The folder of `path`, made when it is missing.
void RequirePrivateFolder(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path();
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) Fail(path, folder + ": " + std::strerror(errno));
  struct stat status = {};
  if (stat(folder.c_str(), &status) != 0) Fail(path, folder + ": " + std::strerror(errno));
  if (!S_ISDIR(status.st_mode)) Fail(path, folder + " is no folder");
  // No advice to take it from the others: it may be /tmp or a home folder.
  if (status.st_uid != geteuid() || (status.st_mode & 077) != 0)
    Fail(path, folder + " is for others too; name a folder that is not there yet, which becomes yours alone");
}

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) Fail(path, "the path is too long for a socket; choose a shorter one");
  path.copy(address.sun_path, path.size());
  return address;
}

int MakeSocket(const std::string& path) {
  const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (made < 0) Fail(path, std::strerror(errno));
  return made;
}

/// Whether somebody listens at `address`; a socket that nobody listens at is removed.
bool IsServed(const std::string& path, const sockaddr_un& address) {
  struct stat status = {};
  if (lstat(path.c_str(), &status) != 0) return false;
  if (!S_ISSOCK(status.st_mode)) Fail(path, "there is a file that is no socket; remove it or choose another path");
  const int probe = MakeSocket(path);
  const bool refused =
      connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 && errno == ECONNREFUSED;
  close(probe);
  if (refused) unlink(path.c_str());
  return !refused;
}

}  // namespace

PrivateSocket::PrivateSocket(std::string path) : m_path(std::move(path)) {
  if (m_path.empty()) {
    m_ownFolder = MakeOwnFolder();
    m_path = m_ownFolder / "agent.sock";
  }
  m_path = std::filesystem::absolute(m_path);  // whoever is told of it may be in another folder
  try {
    Listen();
  } catch (const Failure&) {
    if (m_descriptor >= 0) close(m_descriptor);
    if (!m_ownFolder.empty()) rmdir(m_ownFolder.c_str());
    throw;
  }
}

void PrivateSocket::Listen() {
  RequirePrivateFolder(m_path);
  const sockaddr_un address = AddressOf(m_path);
  if (IsServed(m_path, address)) Fail(m_path, "another program answers there; choose another --socket");
  m_descriptor = MakeSocket(m_path);
  // The file is born with its mode: there is no moment in which others could connect.
  const mode_t mask = umask(0177);
  const int bound = bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  const int reason = errno;
  umask(mask);
  if (bound != 0) Fail(m_path, std::strerror(reason));
  if (listen(m_descriptor, kBacklog) != 0) {
    unlink(m_path.c_str());
    Fail(m_path, std::strerror(errno));
  }
}

PrivateSocket::~PrivateSocket() {
  close(m_descriptor);
  unlink(m_path.c_str());
  if (!m_ownFolder.empty()) rmdir(m_ownFolder.c_str());
}

std::optional<Peer> PeerOf(int socket) {
  ucred peer = {};
  socklen_t size = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return Peer{peer.uid, peer.pid};
}

}  // namespace Host
