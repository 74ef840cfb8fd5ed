#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
#include <type_traits>
#endif

NS_ASSUME_NONNULL_BEGIN

#ifdef __cplusplus
extern "C" {
#endif

/// Calls body(context) and returns the NSException that ended it, autoreleased, or nil. C++ exceptions pass through.
/// Plain Objective-C, so that the handler is entered on every runtime.
NSException* _Nullable QELCatchNSException(void (*body)(void* _Nullable), void* _Nullable context);

#ifdef __cplusplus
}

/// The same for a callable without arguments.
template <typename Body>
NSException* _Nullable CatchNSException(Body&& body) {
  return QELCatchNSException([](void* context) { (*static_cast<std::remove_reference_t<Body>*>(context))(); }, &body);
}
#endif

NS_ASSUME_NONNULL_END
