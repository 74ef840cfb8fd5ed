#include "pkcs11/FunctionList.h"

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

}  // namespace PKCS11
