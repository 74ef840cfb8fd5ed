#pragma once

#import <AppKit/AppKit.h>

#include "bundle/app/Extern.h"

/// Makes the application with its menu and its window, which is shown once the application runs. The application keeps
/// what it needs.
QEL_APP_EXTERN NSApplication* QELMakeApplication(void);
