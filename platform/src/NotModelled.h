/// The answer of what is declared because callers' code must compile, and of which nothing here makes use.

#pragma once

#import <Foundation/Foundation.h>

/// Raises NSInternalInconsistencyException with the name of what was called.
#define QEL_NOT_MODELLED(name) \
  [NSException raise:NSInternalInconsistencyException format:@"%@ is not modelled on this system", name]
#define QEL_NOT_MODELLED_METHOD() QEL_NOT_MODELLED(NSStringFromSelector(_cmd))
