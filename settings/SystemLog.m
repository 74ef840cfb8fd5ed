#import "settings/SystemLog.h"

#include <os/log.h>

void QELWriteToSystemLog(NSString *format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  @try {
    NSLogv(format, arguments);
  } @catch (NSException *exception) {
    NSString *text = [[[NSString alloc] initWithFormat:format arguments:again] autorelease];
    os_log_error(OS_LOG_DEFAULT, "%{public}@", text);
  }
  va_end(again);
}
