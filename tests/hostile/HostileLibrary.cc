// SoftHSM2, which does what it should not while it is loaded: each line of the file $QEL_HOSTILE_ORDERS is a deed and
// what it is done to. The file $QEL_SOFTCARD_DIR/live/deeds gets a line for each, "DEED PATH: done" or the error.

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>

#include "pkcs11/Cryptoki.h"

namespace {

/// 0, or the error.
int Result(long result) {
  return result < 0 ? errno : 0;
}

int Open(const std::string& path, int flags) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
  const int reason = Result(file);
  if (file >= 0) close(file);
  return reason;
}

int Connect(int family, int type, const void* address, socklen_t size) {
  const int made = socket(family, type, 0);
  if (made < 0) return errno;
  const int reason = Result(connect(made, static_cast<const sockaddr*>(address), size));
  close(made);
  return reason;
}

int ConnectLocally(int type) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(9);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return Connect(AF_INET, type, &address, sizeof address);
}

int ConnectAbstractly(const std::string& name) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path + 1, name.data(), name.size());
  return Connect(AF_UNIX, SOCK_STREAM, &address,
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size()));
}

/// Nobody is left to tell of a success.
int Run(const std::string& program) {
  return Result(execl(program.c_str(), program.c_str(), nullptr));
}

/// The loader takes any file that may be read.
int Load(const std::string& program) {
  return Result(execl("/lib64/ld-linux-x86-64.so.2", "ld.so", program.c_str(), nullptr));
}

int MakeProgramInMemory(const std::string&) {
  return Result(syscall(SYS_memfd_create, "program", 0));
}

/// In the host.
int LimitProcessorTime(const std::string&) {
  const rlimit limit = {1, 1};
  return Result(syscall(SYS_prlimit64, getppid(), RLIMIT_CPU, &limit, nullptr));
}

int ChangeModeOfReadable(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const int reason = Result(fchmod(file, 0666));
  close(file);
  return reason;
}

int Replace(const std::string& path) {
  std::ofstream(path + ".new") << "{}";
  return Result(rename((path + ".new").c_str(), path.c_str()));
}

int Stay(const std::string&) {
  const pid_t child = fork();
  if (child != 0) return Result(child);
  while (true) pause();
}

int IgnoreAndHang(const std::string&) {
  for (int number = 1; number < NSIG; ++number) signal(number, SIG_IGN);
  while (true) pause();
}

bool g_searchesHaveNoEnd = false;

int LetSearchesHaveNoEnd(const std::string&) {
  g_searchesHaveNoEnd = true;
  return 0;
}

CK_RV FindForEver(CK_SESSION_HANDLE, CK_OBJECT_HANDLE* objects, CK_ULONG most, CK_ULONG* count) {
  std::fill_n(objects, most, CK_OBJECT_HANDLE{1});
  *count = most;
  return CKR_OK;
}

const std::map<std::string, std::function<int(const std::string&)>> kDeeds = {
    {"read", [](const std::string& path) { return Open(path, O_RDONLY); }},
    {"write", [](const std::string& path) { return Open(path, O_WRONLY); }},
    {"make", [](const std::string& path) { return Open(path, O_WRONLY | O_CREAT); }},
    {"truncate", [](const std::string& path) { return Result(truncate(path.c_str(), 0)); }},
    {"empty-errors", [](const std::string&) { return Result(ftruncate(STDERR_FILENO, 0)); }},
    {"remove", [](const std::string& path) { return Result(unlink(path.c_str())); }},
    {"replace", Replace},
    {"symlink", [](const std::string& path) { return Result(symlink("/etc/passwd", path.c_str())); }},
    {"run", Run},
    {"load", Load},
    {"memory", MakeProgramInMemory},
    {"mode", [](const std::string& path) { return Result(chmod(path.c_str(), 0777)); }},
    {"open-mode", ChangeModeOfReadable},
    {"time", [](const std::string& path) { return Result(utimes(path.c_str(), nullptr)); }},
    {"attribute", [](const std::string& path) { return Result(setxattr(path.c_str(), "user.mine", "", 0, 0)); }},
    {"limit", LimitProcessorTime},
    {"slow", [](const std::string&) { return Result(setpriority(PRIO_PROCESS, getppid(), 19)); }},
    {"shared", [](const std::string&) { return Result(shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600)); }},
    {"key", [](const std::string&) { return Result(syscall(SYS_keyctl, 0, -4, 0)); }},
    {"namespace", [](const std::string&) { return Result(unshare(CLONE_NEWUSER)); }},
    {"root", [](const std::string&) { return Result(sethostname("mine", 4)); }},
    {"signal", [](const std::string&) { return Result(kill(getppid(), SIGTERM)); }},
    {"tcp", [](const std::string&) { return ConnectLocally(SOCK_STREAM); }},
    {"udp", [](const std::string&) { return ConnectLocally(SOCK_DGRAM); }},
    {"abstract", ConnectAbstractly},
    {"uring", [](const std::string&) { return Result(syscall(SYS_io_uring_setup, 1, nullptr)); }},
    {"dumpable", [](const std::string&) { return prctl(PR_GET_DUMPABLE) == 0 ? EPERM : 0; }},
    {"variable", [](const std::string& name) { return getenv(name.c_str()) ? 0 : ENOENT; }},
    {"outlive", [](const std::string&) { return Result(prctl(PR_SET_PDEATHSIG, 0)); }},
    {"stay", Stay},
    {"search", LetSearchesHaveNoEnd},
    {"hang", IgnoreAndHang},
};

/// While the library is loaded.
bool DoDeeds() {
  const char* orders = getenv("QEL_HOSTILE_ORDERS");
  const char* folder = getenv("QEL_SOFTCARD_DIR");
  if (!orders || !folder) return false;
  std::ifstream lines(orders);
  std::ofstream told(std::string(folder) + "/live/deeds", std::ios::app);
  for (std::string deed, object; lines >> deed >> object;) {
    const int reason = kDeeds.at(deed)(object);
    told << deed << " " << object << ": " << (reason == 0 ? "done" : std::strerror(reason)) << std::endl;
  }
  return true;
}

[[maybe_unused]] const bool g_done = DoDeeds();

}  // namespace

extern "C" [[gnu::visibility("default")]] CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  void* const library = dlopen(SOFTHSM2, RTLD_NOW | RTLD_LOCAL);
  const auto get = library ? reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList")) : nullptr;
  if (get == nullptr) return CKR_GENERAL_ERROR;
  const CK_RV result = get(list);
  if (result != CKR_OK || !g_searchesHaveNoEnd) return result;
  static CK_FUNCTION_LIST changed = **list;
  changed.C_FindObjects = FindForEver;
  *list = &changed;
  return CKR_OK;
}
