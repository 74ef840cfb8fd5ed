#pragma once

/// Before each function, so that Objective-C++ finds it as well.
#ifdef __cplusplus
#define QEL_APP_EXTERN extern "C"
#else
#define QEL_APP_EXTERN extern
#endif
