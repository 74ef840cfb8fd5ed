#include "host/extension/CallFilter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <iterator>

namespace Host {
namespace {

#if defined(__x86_64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_X86_64;
constexpr unsigned kOtherCalls = 0x40000000;  // of the same processor's other calling convention
#elif defined(__aarch64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_AARCH64;
constexpr unsigned kOtherCalls = 0x40000000;
#else
#error "the system calls of this processor are not known here"
#endif

constexpr unsigned kAllowed = SECCOMP_RET_ALLOW;
constexpr unsigned kRefused = SECCOMP_RET_ERRNO | EACCES;

constexpr sock_filter Load(unsigned offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset);
}

/// Goes on behind the next `then` instructions when the loaded value is `value`, behind the next `otherwise` when not.
constexpr sock_filter IfEqual(unsigned value, unsigned char then, unsigned char otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, then, otherwise);
}

}  // namespace

bool FilterCalls() {
  sock_filter instructions[] = {
      Load(offsetof(seccomp_data, arch)),
      IfEqual(kArchitecture, 0, 11),  // the calls of another kind of processor have other numbers
      Load(offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, kOtherCalls, 9, 0),
      IfEqual(SYS_io_uring_setup, 8, 0),  // a second way to every call
      IfEqual(SYS_setsid, 7, 0),
      IfEqual(SYS_setpgid, 6, 0),
      IfEqual(SYS_prctl, 3, 0),
      IfEqual(SYS_socket, 0, 5),
      Load(offsetof(seccomp_data, args)),
      IfEqual(AF_UNIX, 3, 2),
      Load(offsetof(seccomp_data, args)),
      IfEqual(PR_SET_PDEATHSIG, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, kRefused),
      BPF_STMT(BPF_RET | BPF_K, kAllowed),
  };
  const sock_fprog program = {static_cast<unsigned short>(std::size(instructions)), instructions};
  return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace Host
