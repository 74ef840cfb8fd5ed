#pragma once

#include "token/QELPINDialogModule.h"

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
