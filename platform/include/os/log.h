/// The unified system log. Here it goes to syslog, and to standard error as well when the environment variable
/// QEL_OS_LOG_STDERR is "1".

#ifndef QEL_PLATFORM_OS_LOG_H_
#define QEL_PLATFORM_OS_LOG_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __OBJC__
@class OS_os_log;
typedef OS_os_log* os_log_t;
#else
typedef struct os_log_s* os_log_t;
#endif

typedef uint8_t os_log_type_t;
enum {
  OS_LOG_TYPE_DEFAULT = 0x00,
  OS_LOG_TYPE_INFO = 0x01,
  OS_LOG_TYPE_DEBUG = 0x02,
  OS_LOG_TYPE_ERROR = 0x10,
  OS_LOG_TYPE_FAULT = 0x11,
};

#ifdef __cplusplus
extern "C" {
#endif

/// Whether a message of `type` to `log` would be written. False for OS_LOG_DISABLED. Any thread.
bool os_log_type_enabled(os_log_t log, os_log_type_t type);

/// Makes a log of its own; the caller owns it. `subsystem` and `category` are copied. Any thread.
os_log_t os_log_create(const char* subsystem, const char* category);

os_log_t qel_os_log_default(void);
void qel_os_log_write(os_log_t log, os_log_type_t type, const char* format, ...) __attribute__((format(os_log, 3, 4)));

#ifdef __cplusplus
}
#endif

#define OS_LOG_DEFAULT qel_os_log_default()
#define OS_LOG_DISABLED ((os_log_t)0)

/// Writes a message. `format` is a string literal with the specifiers of printf and `%@` for an object, and annotations
/// in braces: an object or a text that is not `%{public}` is written as "<private>". The arguments are evaluated only
/// when `type` is enabled. Any thread.
#define os_log_with_type(log, type, format, ...)                     \
  __extension__({                                                    \
    const os_log_t qel_log = (log);                                  \
    const os_log_type_t qel_type = (type);                           \
    if (os_log_type_enabled(qel_log, qel_type)) {                    \
      qel_os_log_write(qel_log, qel_type, "" format, ##__VA_ARGS__); \
    }                                                                \
  })
#define os_log(log, format, ...) os_log_with_type(log, OS_LOG_TYPE_DEFAULT, format, ##__VA_ARGS__)
#define os_log_info(log, format, ...) os_log_with_type(log, OS_LOG_TYPE_INFO, format, ##__VA_ARGS__)
#define os_log_debug(log, format, ...) os_log_with_type(log, OS_LOG_TYPE_DEBUG, format, ##__VA_ARGS__)
#define os_log_error(log, format, ...) os_log_with_type(log, OS_LOG_TYPE_ERROR, format, ##__VA_ARGS__)
#define os_log_fault(log, format, ...) os_log_with_type(log, OS_LOG_TYPE_FAULT, format, ##__VA_ARGS__)

#endif  // QEL_PLATFORM_OS_LOG_H_
