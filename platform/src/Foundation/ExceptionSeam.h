/// The one place of the extension's process that catches Objective-C exceptions.

#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Runs `body(context)`. Returns the exception that it raised, or nil. A C++ exception passes.
NSException* QELExceptionRaisedBy(void (*body)(void*), void* context);

#ifdef __cplusplus
}
#endif
