#import <Foundation/Foundation.h>
#include <os/log.h>
#include <stdlib.h>
#include <syslog.h>

#include <atomic>
#include <string>

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

/// The length of the annotation in braces at the beginning of `text`, 0 when there is none.
size_t AnnotationLength(const char *text) {
  const char *end = *text == '{' ? strchr(text, '}') : nullptr;
  return end ? end + 1 - text : 0;
}

/// The format that Foundation understands: without the annotations in braces after percent signs. An object or a text
/// that is not annotated as public is shown as "<private>"; its argument is passed over.
NSString *FoundationFormat(const char *format) {
  std::string plain;
  while (*format) {
    plain += *format;
    if (*format++ != '%') continue;
    const std::string annotation(format, AnnotationLength(format));
    format += annotation.size();
    if ((*format == '@' || *format == 's') && annotation.find("public") == std::string::npos) {
      plain += ".0s<private>";
      ++format;
    } else if (*format == '%') {
      plain += *format++;
    }
  }
  return [NSString stringWithUTF8String:plain.c_str()];
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
    NSString *text = [[[NSString alloc] initWithFormat:FoundationFormat(format) arguments:arguments] autorelease];
    va_end(arguments);
    atomic_load (&s_sink)(type, [text UTF8String]);
  }
}
