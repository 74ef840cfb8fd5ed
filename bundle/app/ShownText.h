#pragma once

#import <Foundation/Foundation.h>

#include "bundle/app/Extern.h"

/// A text of a card, of a reader or of another program as it may be shown: without control and formatting characters,
/// which could hide, reverse or forge what stands around it, and no longer than 200 characters. Empty for nil and for
/// what is no text.
QEL_APP_EXTERN NSString *QELShownText(id text);

/// The same without the limit of its length.
QEL_APP_EXTERN NSString *QELShownLine(NSString *line);
