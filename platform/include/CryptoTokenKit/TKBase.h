/// What every header of the framework is declared with.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKBASE_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKBASE_H_

#import <Foundation/Foundation.h>

#ifdef __cplusplus
#define TK_EXTERN extern "C" __attribute__((visibility("default")))
#else
#define TK_EXTERN extern __attribute__((visibility("default")))
#endif

/// Foundation's own NS_UNAVAILABLE is empty here; this one is enforced, as the SDK's is.
#define TK_UNAVAILABLE __attribute__((unavailable))

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKBASE_H_
