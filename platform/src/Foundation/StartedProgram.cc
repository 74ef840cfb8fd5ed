#include "platform/src/Foundation/StartedProgram.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

constexpr unsigned kFirstArgument = offsetof(seccomp_data, args), kSecondArgument = kFirstArgument + 8;

constexpr sock_filter Load(unsigned offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset);
}

/// Goes on behind the next `then` instructions when what was loaded is `value`, else behind `otherwise`.
constexpr sock_filter If(uint64_t value, unsigned char then, unsigned char otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(value), then, otherwise);
}

}  // namespace

void RemainTheStartedProgram(const char* next) {
  const auto place = reinterpret_cast<uint64_t>(next);  // of the null pointer, the system makes no program anyway
  // Who asked for this keeps calls by other conventions out as well.
  sock_filter instructions[] = {
      Load(offsetof(seccomp_data, nr)),
      If(SYS_execve, 2, 0),
      If(SYS_execveat, 9, 0),
      If(SYS_prctl, 4, 9),
      // execve: the path's address, low half first.
      Load(kFirstArgument),
      If(place, 0, 6),
      Load(kFirstArgument + 4),
      If(place >> 32, 5, 4),
      // prctl: a process that leaves no core may say so again.
      Load(kFirstArgument),
      If(PR_SET_DUMPABLE, 0, 3),
      Load(kSecondArgument),
      If(0, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {static_cast<unsigned short>(std::size(instructions)), instructions};
  prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}
