#pragma once

#import <Foundation/Foundation.h>

#include "bundle/app/Extern.h"

/// What lines of the token log say of cards and items that were not published, and why: sentences, each once, in the
/// order of the lines.
QEL_APP_EXTERN NSArray *QELLogHints(NSArray *lines);
