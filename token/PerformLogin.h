#pragma once

#import "token/QELTokenSession.h"

NS_ASSUME_NONNULL_BEGIN

/// Logs the user in on the session's current pair with exactly the UTF-8 bytes of `PIN`, or, when that is nil, with the
/// PIN that the reader collects while its dialog is shown. Blocks until the card answers. Returns YES when the user is
/// logged in now; the card connection is then marked sensitive. Returns NO otherwise, with an error only for the
/// results that have one.
BOOL performLogin(QELTokenSession *session, NSString *_Nullable PIN, NSError *_Nullable *_Nullable error);

NS_ASSUME_NONNULL_END
