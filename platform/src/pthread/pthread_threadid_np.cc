#include <errno.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

int pthread_threadid_np(pthread_t thread, uint64_t* thread_id) {
  if (thread_id == nullptr) {
    return EINVAL;
  }
  const bool isCaller = thread == pthread_t() || pthread_equal(thread, pthread_self());
  if (!isCaller) {
    return ESRCH;
  }
  *thread_id = static_cast<uint64_t>(syscall(SYS_gettid));
  return 0;
}
