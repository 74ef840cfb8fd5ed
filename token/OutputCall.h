#pragma once

#import "token/CardOutput.h"
#import "token/PinPadCall.h"
#import "token/TokenKitErrors.h"

NS_ASSUME_NONNULL_BEGIN

/// Makes the card call `name` twice, as `call(bytes, length)`: for the length of its output, then for the output, under
/// the PIN pad dialog where the reader has a PIN pad. Returns a buffer as long as the first call announced,
/// autoreleased, and in `written` what the second call says it wrote. Returns nil when a call fails or announces no
/// usable length, which is logged; the error is stored for the results that have one.
template <typename Call>
NSMutableData *_Nullable OutputOfCall(const char *name, QELTokenSession *session, Call &&call, CK_ULONG *written,
                                      NSError *_Nullable *_Nullable error) {
  *written = 0;
  if (!CardCallSucceeded(name, call(nullptr, written), error)) return nil;
  CardOutput output(name, *written);
  if (!output.IsUsable()) return nil;
  const CK_RV rv = CallWithPinPadDialog(session, [&] { return call(output.Bytes(), written); });
  return CardCallSucceeded(name, rv, error) ? output.Data() : nil;
}

NS_ASSUME_NONNULL_END
