#include "host/extension/CallFilter.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>

namespace Host {
namespace {

#if defined(__x86_64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "the system calls of this processor are not known here"
#endif
constexpr unsigned kOtherCalls = 0x40000000;  // of the same processor's other calling convention

constexpr unsigned kAllowed = SECCOMP_RET_ALLOW;
constexpr unsigned kRefused = SECCOMP_RET_ERRNO | EACCES;
constexpr unsigned kUnknown = SECCOMP_RET_ERRNO | ENOSYS;

// Calls that the distribution's header may be too old for; their numbers are the same everywhere.
constexpr unsigned kFchmodat2 = 452;
constexpr unsigned kSetxattrat = 463;
constexpr unsigned kRemovexattrat = 466;
constexpr unsigned kFileSetattr = 469;

constexpr unsigned kAlwaysRefused[] = {
    SYS_io_uring_setup,  // a second way to every call
    // New processes, and ways out of this one's group.
    SYS_setsid, SYS_setpgid,
#ifdef SYS_fork
    SYS_fork, SYS_vfork,
#endif
    // Programs that are no files.
    SYS_memfd_create, SYS_execveat,
    // Other processes.
    SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_setpriority, SYS_ioprio_set, SYS_perf_event_open,
    SYS_bpf,
    // What a file is beside its contents, and what happens to it.
    SYS_fchmod, SYS_fchmodat, kFchmodat2, SYS_fchown, SYS_fchownat, SYS_utimensat, SYS_setxattr, SYS_lsetxattr,
    SYS_fsetxattr, kSetxattrat, SYS_removexattr, SYS_lremovexattr, SYS_fremovexattr, kRemovexattrat, kFileSetattr,
    SYS_inotify_add_watch, SYS_fanotify_init,
#ifdef SYS_chmod
    SYS_chmod, SYS_chown, SYS_lchown, SYS_utime, SYS_utimes, SYS_futimesat,
#endif
    // What others share.
    SYS_shmget, SYS_shmat, SYS_shmctl, SYS_semget, SYS_semop, SYS_semtimedop, SYS_semctl, SYS_msgget, SYS_msgsnd,
    SYS_msgrcv, SYS_msgctl, SYS_mq_open, SYS_mq_unlink, SYS_add_key, SYS_request_key, SYS_keyctl,
    // Another view of the system.
    SYS_unshare, SYS_setns, SYS_chroot};

/// A call that is refused because of one argument, of which the filter sees the lower half.
struct Condition {
  enum class When { Is, IsNot, Lacks };
  unsigned call;
  unsigned argument;  ///< counted from 0
  When when;
  unsigned value;
};

constexpr Condition kSometimesRefused[] = {
    {SYS_clone, 0, Condition::When::Lacks, CLONE_THREAD},
    {SYS_socket, 0, Condition::When::IsNot, AF_UNIX},
    {SYS_socketpair, 0, Condition::When::IsNot, AF_UNIX},
    {SYS_prctl, 0, Condition::When::Is, PR_SET_PDEATHSIG},
    // Of this process or thread alone, by its number 0.
    {SYS_prlimit64, 0, Condition::When::IsNot, 0},
    {SYS_sched_setaffinity, 0, Condition::When::IsNot, 0},
    {SYS_sched_setattr, 0, Condition::When::IsNot, 0},
    {SYS_sched_setparam, 0, Condition::When::IsNot, 0},
    {SYS_sched_setscheduler, 0, Condition::When::IsNot, 0},
    // To write is not needed for these: whoever may read could.
    {SYS_fcntl, 1, Condition::When::Is, F_SETLEASE},
    {SYS_ioctl, 1, Condition::When::Is, FS_IOC_SETFLAGS},
    {SYS_ioctl, 1, Condition::When::Is, FS_IOC_FSSETXATTR},
};

constexpr sock_filter Load(unsigned offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset);
}

constexpr sock_filter Return(unsigned result) {
  return BPF_STMT(BPF_RET | BPF_K, result);
}

/// Goes on behind the next `then` instructions when the loaded value and `value` compare so, else behind `otherwise`.
constexpr sock_filter If(unsigned comparison, unsigned value, unsigned char then, unsigned char otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_K | comparison, value, then, otherwise);
}

sock_filter Unless(const Condition& condition) {
  using When = Condition::When;
  const bool refusedWhenTrue = condition.when == When::Is;
  return If(condition.when == When::Lacks ? BPF_JSET : BPF_JEQ, condition.value, refusedWhenTrue ? 0 : 1,
            refusedWhenTrue ? 1 : 0);
}

}  // namespace

CallFilter::CallFilter(Programs programs) {
  const auto add = [this](std::initializer_list<sock_filter> more) {
    m_instructions.insert(m_instructions.end(), more);
  };
  constexpr sock_filter call = Load(offsetof(seccomp_data, nr));
  // The calls of another kind of processor have other numbers.
  add({Load(offsetof(seccomp_data, arch)), If(BPF_JEQ, kArchitecture, 1, 0), Return(kRefused)});
  add({call, If(BPF_JGE, kOtherCalls, 0, 1), Return(kRefused)});
  for (const unsigned refused : kAlwaysRefused) add({If(BPF_JEQ, refused, 0, 1), Return(kRefused)});
  if (programs == Programs::None) add({If(BPF_JEQ, SYS_execve, 0, 1), Return(kRefused)});
  // Its flags are in memory, which a filter does not see. Who is told that it is not there takes clone.
  add({If(BPF_JEQ, SYS_clone3, 0, 1), Return(kUnknown)});
  for (const Condition& condition : kSometimesRefused)
    add({If(BPF_JEQ, condition.call, 0, 4),
         Load(static_cast<unsigned>(offsetof(seccomp_data, args) + 8 * condition.argument)), Unless(condition),
         Return(kRefused), call});
  add({Return(kAllowed)});
}

bool CallFilter::Enter() const {
  const sock_fprog program = {static_cast<unsigned short>(m_instructions.size()),
                              const_cast<sock_filter*>(m_instructions.data())};
  return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace Host
