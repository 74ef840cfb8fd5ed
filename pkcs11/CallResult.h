#pragma once

#include <cstdint>
#include <string>

#include "log/QELLog.h"
#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Formats one value with a printf format of one unsigned long directive. Returns the empty string when the format
/// gives nothing.
std::string FormatValue(const char* format, CK_RV value);

/// Returns whether `rv` is CKR_OK; otherwise logs "<call>() => 0x<rv>" at `level` first. `call` is the name to be
/// printed.
bool Succeeded(const char* call, CK_RV rv, QELLog::LogLevel level = QELLog::LogLevel::Error);

/// Throws QELTokenException(code, message) unless `rv` is CKR_OK; the call's result is logged before, at error level.
void Require(const char* call, CK_RV rv, int32_t code, const char* message);

}  // namespace PKCS11
