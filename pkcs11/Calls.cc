#include "pkcs11/Calls.h"

#include <cstdio>

#include "pkcs11/QELTokenException.h"

namespace PKCS11 {
namespace {

CK_FUNCTION_LIST* s_functions = nullptr;

}  // namespace

CK_FUNCTION_LIST* Functions() noexcept {
  return s_functions;
}

ScopedFunctionList::ScopedFunctionList(CK_FUNCTION_LIST* functions) noexcept : m_previous(s_functions) {
  s_functions = functions;
}

ScopedFunctionList::~ScopedFunctionList() {
  s_functions = m_previous;
}

std::string FormatValue(const char* format, CK_RV value) {
  char probe[1];
  const int length = std::snprintf(probe, sizeof probe, format, value);
  if (length < 1) return {};
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), format, value);
  text.pop_back();
  return text;
}

bool Succeeded(const char* call, CK_RV rv, QELLog::LogLevel level) {
  if (rv == CKR_OK) return true;
  auto stream = QELLog::Dynamic(level);
  if (stream.IsLive()) stream << call << FormatValue("() => 0x%08lX", rv);
  return false;
}

void Require(const char* call, CK_RV rv, int32_t code, const char* message) {
  if (!Succeeded(call, rv)) throw QELTokenException(code, message);
}

}  // namespace PKCS11
