#pragma once

#include <optional>

#include "pkcs11/Calls.h"
#include "pkcs11/Cryptoki.h"
#include "pkcs11/DynamicLibrary.h"

/// The maker's PKCS#11 library, loaded from the extension's bundle and initialized (PKCS#11 2.40). While it lives,
/// every card call of the process goes through its function list. At most one exists in a process; it is created during
/// token construction and lives until process exit.
class TarnwellPkcs11Module {
 public:
  /// Loads the library and calls C_GetFunctionList and C_Initialize. The library is closed again before any exception
  /// leaves. Throws -1 when it cannot be opened, -9 when it has no C_GetFunctionList, -2 when that call fails or gives
  /// no list, -3 when C_Initialize fails, CKR_CRYPTOKI_ALREADY_INITIALIZED included. The failing call's result goes to
  /// the system log.
  TarnwellPkcs11Module();

  /// Calls C_Finalize and closes the library. A failure is written to the system log, never thrown.
  ~TarnwellPkcs11Module();

  TarnwellPkcs11Module(const TarnwellPkcs11Module&) = delete;
  TarnwellPkcs11Module& operator=(const TarnwellPkcs11Module&) = delete;

  /// Returns the vendor's C_GetSlotType, or null when the library does not export it.
  CK_C_GetSlotType GetSlotTypeFn() const noexcept { return m_getSlotType; }

 private:
  DynamicLibrary m_library;
  CK_FUNCTION_LIST* m_functionList = nullptr;
  CK_C_GetSlotType m_getSlotType = nullptr;
  std::optional<PKCS11::ScopedFunctionList> m_inForce;
};
