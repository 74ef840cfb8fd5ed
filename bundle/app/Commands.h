#pragma once

#import <Foundation/Foundation.h>

#include "bundle/app/Extern.h"

/// Prints what the window shows, as text or as JSON. Returns the exit status: 0 when the extension is registered,
/// else 1.
QEL_APP_EXTERN int QELPrintStatus(BOOL json);

/// Prints the support report, as text or as JSON. Returns the exit status.
QEL_APP_EXTERN int QELPrintSupport(BOOL json);
