#pragma once

#include "pkcs11/DynamicLibrary.h"

/// The one entry point of the PIN dialog library: (1, kind, 1) shows the login dialog of that kind, (1, 1, 2) hides it.
/// Its result means nothing to us.
using PINPadDialogFn = int (*)(int, int, int);

/// The separately installed PIN dialog library. One per process, loaded for every reader, with a PIN pad or without.
class QELPINDialogModule {
 public:
  /// Throws -1 when the library cannot be opened, -9 "Unable to find function PINPadDialogP" when it lacks its entry
  /// point; the library is closed again before the exception leaves.
  QELPINDialogModule();

  /// Returns the entry point, never null.
  PINPadDialogFn GetPINPadDialogFn() const noexcept { return m_dialog; }

 private:
  DynamicLibrary m_library;
  PINPadDialogFn m_dialog;
};
