#import <Foundation/Foundation.h>
#include <os/log.h>
#include <stdlib.h>
#include <syslog.h>

#include <atomic>

#import "platform/src/os/LogHooks.h"
#import "platform/src/os/OS_os_log.h"

namespace {

bool IsEnabledByDefault(os_log_type_t type) {
  return type != OS_LOG_TYPE_INFO && type != OS_LOG_TYPE_DEBUG;
}

void WriteToSystem(os_log_type_t type, const char *text) {
  const bool isError = type == OS_LOG_TYPE_ERROR || type == OS_LOG_TYPE_FAULT;
  syslog(LOG_USER | (isError ? LOG_ERR : LOG_NOTICE), "%s", text);
  const char *onStandardError = getenv("QEL_OS_LOG_STDERR");
  if (onStandardError && strcmp(onStandardError, "1") == 0) {
    fprintf(stderr, "%s\n", text);
  }
}

std::atomic<QELLogPredicate> s_predicate{IsEnabledByDefault};
std::atomic<QELLogSink> s_sink{WriteToSystem};

/// The format that Foundation understands: without the annotation in braces after a percent sign.
NSString *WithoutAnnotations(const char *format) {
  NSMutableData *plain = [NSMutableData dataWithCapacity:strlen(format)];
  while (*format) {
    [plain appendBytes:format length:1];
    const char *next = format + 1;
    if (*format == '%' && *next == '%') {
      [plain appendBytes:next length:1];
      ++next;
    } else if (*format == '%' && *next == '{' && strchr(next, '}')) {
      next = strchr(next, '}') + 1;
    }
    format = next;
  }
  return [[[NSString alloc] initWithData:plain encoding:NSUTF8StringEncoding] autorelease];
}

}  // namespace

void QELLogSetPredicate(QELLogPredicate predicate) {
  s_predicate = predicate ? predicate : IsEnabledByDefault;
}

void QELLogSetSink(QELLogSink sink) {
  s_sink = sink ? sink : WriteToSystem;
}

os_log_t qel_os_log_default(void) {
  static OS_os_log *const log = [[OS_os_log alloc] initWithSubsystem:nil category:nil];
  return log;
}

os_log_t os_log_create(const char *subsystem, const char *category) {
  @autoreleasepool {
    return [[OS_os_log alloc] initWithSubsystem:[NSString stringWithUTF8String:subsystem]
                                       category:[NSString stringWithUTF8String:category]];
  }
}

bool os_log_type_enabled(os_log_t log, os_log_type_t type) {
  return log != OS_LOG_DISABLED && s_predicate.load()(type);
}

void qel_os_log_write(os_log_t log, os_log_type_t type, const char *format, ...) {
  (void)log;
  @autoreleasepool {
    va_list arguments;
    va_start(arguments, format);
    NSString *text = [[[NSString alloc] initWithFormat:WithoutAnnotations(format) arguments:arguments] autorelease];
    va_end(arguments);
    atomic_load (&s_sink)(type, [text UTF8String]);
  }
}
