#pragma once

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Returns the function list through which every card call goes: the one of the living TarnwellPkcs11Module, null when
/// there is none. Read and set without a lock; it changes only while a token is constructed and at process exit.
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

}  // namespace PKCS11
