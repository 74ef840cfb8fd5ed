#include "tests/host/readers/ReaderService.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace {

constexpr char kSystemFolder[] = "/run/pcscd";
constexpr char kUsbDrivers[] = "/usr/lib/pcsc/drivers";
constexpr int kSlots = 2;           // of the driver, on ports in a row
constexpr int kFirstInherited = 3;  // descriptor of a service whose socket is handed to it

int UnixSocket(const std::string& path, int (*use)(int, const sockaddr*, socklen_t)) {
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
  std::memcpy(address.sun_path, path.c_str(), path.size());
  if (use(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return descriptor;
  close(descriptor);
  return -1;
}

int OnPort(int port, int (*use)(int, const sockaddr*, socklen_t)) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (use(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return descriptor;
  close(descriptor);
  return -1;
}

/// Takes the system's USB drivers and the system service's folder from this process and what it starts; only root can,
/// and only root needs it. Returns whether that was done.
bool HideTheSystemsService() {
  return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         (mkdir(kSystemFolder, 0755) == 0 || errno == EEXIST) &&
         mount("none", kSystemFolder, "tmpfs", 0, nullptr) == 0 && mount("none", kUsbDrivers, "tmpfs", 0, nullptr) == 0;
}

bool InChild(bool (*does)()) {
  const pid_t child = fork();
  if (child == 0) _exit(does() ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool IsFree(int port) {
  const int descriptor = OnPort(port, bind);
  if (descriptor >= 0) close(descriptor);
  return descriptor >= 0;
}

/// The first of as many free ports in a row as the driver has slots.
int FreePorts() {
  constexpr int kLowest = 20000, kRange = 10000;
  for (int attempt = 0; attempt < 100; ++attempt) {
    const int port = kLowest + (getpid() * kSlots + attempt * 101) % kRange;
    if (IsFree(port) && IsFree(port + 1)) return port;
  }
  throw std::runtime_error("no free ports");
}

}  // namespace

std::string ReaderService::Obstacle() {
  if (access(QEL_PCSCD, X_OK) != 0 || access(QEL_VPCD, R_OK) != 0)
    return std::string(QEL_PCSCD) + " and " + QEL_VPCD + " are not both there; script/bootstrap test installs them";
  const int system = UnixSocket(kSystemFolder + std::string("/pcscd.comm"), connect);
  if (system < 0) return "";
  close(system);
  // Run by root, a second service would take the first one's USB readers.
  if (geteuid() != 0 || InChild(HideTheSystemsService)) return "";
  return "this system's own smart-card service runs; stop it (systemctl stop pcscd.socket pcscd) or be another user";
}

ReaderService::ReaderService() : m_port(FreePorts()) {
  const std::filesystem::path driver = m_folder.Path() / "driver.so";
  std::filesystem::copy_file(QEL_VPCD, driver);
  char device[40];
  std::snprintf(device, sizeof device, "/dev/null:0x%04X", static_cast<unsigned>(m_port));
  std::filesystem::create_directory(m_folder.Path() / "conf");
  std::ofstream(m_folder.Path() / "conf/virtual") << "FRIENDLYNAME \"Virtual PCD\"\nDEVICENAME " << device
                                                  << "\nLIBPATH " << driver.string() << "\nCHANNELID 0x8C7B\n";
  setenv("PCSCLITE_CSOCK_NAME", (m_folder.Path() / "socket").c_str(), 1);
  Start();
}

ReaderService::~ReaderService() {
  Stop();
  unsetenv("PCSCLITE_CSOCK_NAME");
}

void ReaderService::Start() {
  const std::string path = m_folder.Path() / "socket";
  std::filesystem::remove(path);
  const int listening = UnixSocket(path, bind);
  if (listening < 0 || listen(listening, 16) != 0) throw std::runtime_error("no socket at " + path);
  const std::string configuration = m_folder.Path() / "conf";
  const int log = open((m_folder.Path() / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  m_process = fork();
  if (m_process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    HideTheSystemsService();
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    if (listening == kFirstInherited) {
      fcntl(listening, F_SETFD, 0);
    } else {
      dup2(listening, kFirstInherited);
    }
    setenv("LISTEN_FDS", "1", 1);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    // Without a system bus polkit lets nobody in; releases before 2.3 cannot be told to do without it, and do.
    execl(QEL_PCSCD, "pcscd", "--foreground", "--config", configuration.c_str(), QEL_PCSCD_WITHOUT_POLKIT,
          static_cast<char*>(nullptr));
    _exit(127);
  }
  close(listening);
  close(log);
}

void ReaderService::StartWithoutReaders() {
  std::filesystem::remove(m_folder.Path() / "conf/virtual");
  Start();
}

void ReaderService::Stop() {
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);  // asked politely, it takes seconds
  waitpid(m_process, nullptr, 0);
  m_process = 0;
}

VirtualCard::VirtualCard(const ReaderService& service) {
  for (int attempt = 0; attempt < 500; ++attempt, usleep(20000)) {
    m_program.emplace(QEL_SOFTCARD, std::vector<std::string>{"virtual", "--port", std::to_string(service.Port())},
                      ChildEnvironment{});
    if (m_program->Prints("Ctrl-C takes it out\n")) return;
  }
  throw std::runtime_error("the virtual reader does not listen: " + m_program->Printed());
}
