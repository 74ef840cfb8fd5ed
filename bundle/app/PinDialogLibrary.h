#pragma once

#import <Foundation/Foundation.h>

#include "bundle/app/Extern.h"

/// Whether the maker's PIN dialog library is surely not on this computer. The extension takes no card without it, on
/// readers without a PIN pad either. NO when its folder does not let this user look.
QEL_APP_EXTERN BOOL QELIsPinDialogLibraryMissing(void);
