/// Where the system log's lines go, and which are written at all. For tests.

#pragma once

#include <os/log.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef bool (*QELLogPredicate)(os_log_type_t type);
typedef void (*QELLogSink)(os_log_type_t type, const char* text);

/// Decides from now on which types are enabled; NULL for the system's own rule. Any thread.
void QELLogSetPredicate(QELLogPredicate predicate);

/// Takes the formatted lines from now on instead of syslog and standard error; NULL for those. Any thread.
void QELLogSetSink(QELLogSink sink);

#ifdef __cplusplus
}
#endif
