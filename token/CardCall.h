#pragma once

#include "token/PINPadDialog.h"
#include "token/ProcessModules.h"
#import "token/QELTokenSession.h"

NS_ASSUME_NONNULL_BEGIN

// A card call within an operation: what its result means to CryptoTokenKit, the dialog while it waits, its output.

/// Stores the CryptoTokenKit error that stands for a failed card call: cancelled, wrong PIN, or not logged in. Stores
/// nothing for any other result, deliberately, and nothing when `error` is null.
void StoreTokenKitError(CK_RV rv, NSError *_Nullable *_Nullable error);

/// Stores TKErrorCodeAuthenticationNeeded, which makes CryptoTokenKit ask the user to log in and call again. Nothing
/// when `error` is null.
void StoreAuthenticationNeeded(NSError *_Nullable *_Nullable error);

/// Returns whether `rv` is CKR_OK; otherwise logs the call's result at error level and stores its error.
bool CardCallSucceeded(const char *call, CK_RV rv, NSError *_Nullable *_Nullable error);

/// Makes a card call that may wait for the PIN: on a reader with its own PIN pad the dialog is shown around it, and
/// hidden however the call ends. Returns the call's result.
template <typename Call>
CK_RV CallWithPinPadDialog(QELTokenSession *session, Call &&call) {
  if (![session isPinPad]) return call();
  ProcessModules &modules = ProcessModules::Instance();
  PINPadDialog dialog(modules.PinDialog());
  const PINPadDialogHider hider(dialog);
  dialog.ShowLoginDialog(modules.DialogKind([[session hCurrentPair] hSlot]));
  return call();
}

/// Returns the bytes of `data` as a card takes its input: never null, also for empty data. A library may take a null
/// pointer for a wrong argument and leave the operation open.
const CK_BYTE *InputBytes(NSData *data);

/// A zero-filled buffer of the length that a size query announced.
class CardOutput {
 public:
  /// Not usable when the announced length is no length at all; `call` then stands in an error-level log line.
  CardOutput(const char *call, CK_ULONG announced);

  /// Returns whether there is a buffer.
  bool IsUsable() const { return m_data != nil; }

  /// Returns where the card writes: never null, also for length 0, for a null buffer would make the second call another
  /// size query.
  CK_BYTE *Bytes();

  /// Returns the buffer, autoreleased and as long as announced; nil when it is not usable.
  NSMutableData *_Nullable Data() const { return m_data; }

 private:
  NSMutableData *_Nullable m_data;
  CK_BYTE m_none = 0;
};

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
