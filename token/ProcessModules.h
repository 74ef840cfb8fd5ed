#pragma once

#include <memory>

#include "pkcs11/TarnwellPkcs11Module.h"
#include "token/PINPadDialog.h"

/// The two libraries that the process loads once and keeps until it exits. Read and set under the EntryLock. At exit
/// the PIN dialog goes first, then the PKCS#11 library is finalized, then logging ends.
class ProcessModules {
 public:
  /// Returns the process's one instance, empty at first.
  static ProcessModules& Instance();

  /// Loads what is not loaded yet, the PKCS#11 library first. Throws what the modules throw; what was loaded before
  /// stays.
  void Load();

  /// Returns the kind of the PIN pad dialog for `slot`, by the vendor's slot type. The plain kind when the library does
  /// not tell.
  int DialogKind(CK_SLOT_ID slot) const;

  /// Returns the PIN dialog library. Load() must have succeeded.
  QELPINDialogModule& PinDialog() { return *m_pinDialog; }

 private:
  std::unique_ptr<TarnwellPkcs11Module> m_pkcs11;  // members are destroyed bottom up
  std::unique_ptr<QELPINDialogModule> m_pinDialog;
};
