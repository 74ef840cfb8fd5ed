#include "pkcs11/TarnwellPkcs11Module.h"

#include <os/log.h>

#include "pkcs11/BundledLibraryPath.h"
#include "pkcs11/QELTokenException.h"

namespace {

// Two bits that only the maker's library knows. No locking is asked for: one thread at a time calls it.
constexpr CK_FLAGS kInitializeFlags = 0x00030000;

bool SystemLogTakesErrors() {
  return os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_ERROR);
}

}  // namespace

TarnwellPkcs11Module::TarnwellPkcs11Module() : m_library(BundledLibraryPath().c_str(), "PKCS11") {
  const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(m_library.LoadSymbol("C_GetFunctionList"));
  if (getFunctionList == nullptr) {
    throw QELTokenException(QELTokenError::SymbolMissing, "PKCS11 function list not found");
  }
  m_getSlotType = reinterpret_cast<CK_C_GetSlotType>(m_library.LoadSymbol("C_GetSlotType"));

  const CK_RV listed = getFunctionList(&m_functionList);
  if (listed != CKR_OK || m_functionList == nullptr) {
    if (SystemLogTakesErrors()) os_log_error(OS_LOG_DEFAULT, "C_GetFunctionList => 0x%08lX", listed);
    throw QELTokenException(QELTokenError::FunctionListRefused, "PKCS11 function list not found");
  }

  CK_C_INITIALIZE_ARGS arguments{};
  arguments.flags = kInitializeFlags;
  const CK_RV initialized = m_functionList->C_Initialize(&arguments);
  if (initialized != CKR_OK) {
    if (SystemLogTakesErrors()) os_log_error(OS_LOG_DEFAULT, "C_Initialize => 0x%08lX", initialized);
    throw QELTokenException(QELTokenError::InitializationFailed, "PKCS11 library initialization failed");
  }
  m_inForce.emplace(m_functionList);
}

TarnwellPkcs11Module::~TarnwellPkcs11Module() {
  const CK_RV finalized = m_functionList->C_Finalize(nullptr);
  if (finalized != CKR_OK && SystemLogTakesErrors()) {
    os_log_error(OS_LOG_DEFAULT, "C_Finalize => 0x%08lX", finalized);
  }
}
