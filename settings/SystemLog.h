#pragma once

#import <Foundation/Foundation.h>
#include <stdarg.h>

NS_ASSUME_NONNULL_BEGIN

#ifdef __cplusplus
extern "C" {
#endif

/// Writes with NSLogv. Where that raises, as it does on GNUstep for a user without a name, the message goes to the
/// unified system log. Never raises. Plain Objective-C, so that the handler is entered on every runtime.
void QELWriteToSystemLog(NSString *format, va_list arguments);

#ifdef __cplusplus
}
#endif

NS_ASSUME_NONNULL_END
