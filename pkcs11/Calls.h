#pragma once

#include <cstdint>
#include <string>

#include "log/QELLog.h"
#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Returns the function list through which every card call goes: the one of the living TarnwellPkcs11Module, null when
/// there is none. Read and set without a lock of its own: one thread at a time is in the extension, and it changes only
/// while a token is constructed and at process exit.
CK_FUNCTION_LIST* Functions() noexcept;

/// Puts a function list in force for its own lifetime, and the previous one back afterwards. Does not own the list.
class ScopedFunctionList {
 public:
  explicit ScopedFunctionList(CK_FUNCTION_LIST* functions) noexcept;
  ~ScopedFunctionList();
  ScopedFunctionList(const ScopedFunctionList&) = delete;
  ScopedFunctionList& operator=(const ScopedFunctionList&) = delete;

 private:
  CK_FUNCTION_LIST* m_previous;
};

/// Formats one value with a printf format of one unsigned long directive. Returns the empty string when the format
/// gives nothing.
std::string FormatValue(const char* format, CK_RV value);

/// Returns whether `rv` is CKR_OK; otherwise logs "<call>() => 0x<rv>" at `level` first. `call` is the name to be
/// printed.
bool Succeeded(const char* call, CK_RV rv, QELLog::LogLevel level = QELLog::LogLevel::Error);

/// Throws QELTokenException(code, message) unless `rv` is CKR_OK; the call's result is logged before, at error level.
void Require(const char* call, CK_RV rv, int32_t code, const char* message);

}  // namespace PKCS11
