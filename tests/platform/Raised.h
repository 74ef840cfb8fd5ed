#pragma once

#import "platform/src/Foundation/ExceptionSeam.h"

#include <string>

/// The name of the Objective-C exception that `body` raises, empty when it raises none.
template <class Body>
std::string NameRaisedBy(Body body) {
  NSException *exception = QELExceptionRaisedBy([](void *context) { (*static_cast<Body *>(context))(); }, &body);
  return exception ? [[exception name] UTF8String] : "";
}

/// What a call answers that is declared and not modelled.
inline const char *const kNotModelled = "NSInternalInconsistencyException";
