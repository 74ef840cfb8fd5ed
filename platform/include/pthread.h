/// The system's thread interface and the one call that only the other system has.

#ifndef QEL_PLATFORM_PTHREAD_H_
#define QEL_PLATFORM_PTHREAD_H_

#include_next <pthread.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Stores the system-wide number of `thread` in `*thread_id`. Returns 0, EINVAL when `thread_id` is NULL, or ESRCH when
/// `thread` is another than the calling thread: only the caller's number can be asked for here.
int pthread_threadid_np(pthread_t thread, uint64_t* thread_id);

#ifdef __cplusplus
}
#endif

#endif  // QEL_PLATFORM_PTHREAD_H_
