#pragma once

#include "pkcs11/Cryptoki.h"
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

/// The dialog for a reader of no special kind.
inline constexpr int kPlainDialogKind = 1;

/// Returns the dialog kind, as the PIN dialog library numbers them, for the vendor's slot type.
constexpr int DialogKindOfSlotType(CK_ULONG slotType) {
  switch (slotType) {
    case 0x80000002:
      return 8;
    case 0x80000003:
      return 32;
    default:
      return kPlainDialogKind;
  }
}

/// The dialog that tells the user to type the PIN on the reader. The calls return at once; the dialog stays until it is
/// hidden.
class PINPadDialog {
 public:
  explicit PINPadDialog(QELPINDialogModule& module) : m_module(module) {}

  /// Shows the dialog of `kind`: 1, 8 or 32.
  void ShowLoginDialog(int kind) { m_module.GetPINPadDialogFn()(1, kind, 1); }

  /// Hides it; harmless when it is not shown.
  void Hide() { m_module.GetPINPadDialogFn()(1, 1, 2); }

 private:
  QELPINDialogModule& m_module;
};

/// Hides the dialog when the scope is left, however it is left. Never throws.
class PINPadDialogHider {
 public:
  explicit PINPadDialogHider(PINPadDialog& dialog) : m_dialog(dialog) {}
  ~PINPadDialogHider() { m_dialog.Hide(); }
  PINPadDialogHider(const PINPadDialogHider&) = delete;
  PINPadDialogHider& operator=(const PINPadDialogHider&) = delete;

 private:
  PINPadDialog& m_dialog;
};
