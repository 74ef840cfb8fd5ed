#pragma once

#include "token/PINPadDialog.h"
#include "token/ProcessModules.h"
#import "token/QELTokenSession.h"

NS_ASSUME_NONNULL_BEGIN

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

NS_ASSUME_NONNULL_END
