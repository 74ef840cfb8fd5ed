// SoftHSM2, but the call that the file $QEL_CRASH names ends the process, in the way that stands behind the name:
// "C_Sign crash", "C_Sign abort" or "C_Sign exit". The file goes with it, so that the next process works. With "C_Sign
// wait" the call waits until there is a file of that name with ".go" behind it, and says that the card is gone.

#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "pkcs11/Cryptoki.h"

namespace {

CK_FUNCTION_LIST* s_real = nullptr;
CK_FUNCTION_LIST s_list;

constexpr int kLongestWait = 60000;  // milliseconds

void WaitFor(const std::string& file) {
  for (int waited = 0; waited < kLongestWait && access(file.c_str(), F_OK) != 0; waited += 10) usleep(10000);
}

/// Ends the process when that is wanted of `call`. Otherwise returns the error that it is to give, or CKR_OK.
CK_RV CrashWhenWanted(const char* call) {
  const char* file = getenv("QEL_CRASH");
  std::string wanted, way;
  if (file == nullptr || !(std::ifstream(file) >> wanted >> way) || wanted != call) return CKR_OK;
  unlink(file);
  if (way == "wait") {
    WaitFor(file + std::string(".go"));
    return CKR_DEVICE_REMOVED;
  }
  if (way == "exit") _exit(3);
  if (way == "abort") abort();
  raise(SIGSEGV);
  return CKR_GENERAL_ERROR;
}

/// One function of the list.
template <auto Member>
struct Watched;

template <class... Arguments, CK_RV (*CK_FUNCTION_LIST::*Member)(Arguments...)>
struct Watched<Member> {
  static inline const char* s_name = nullptr;

  static CK_RV Call(Arguments... arguments) {
    const CK_RV wanted = CrashWhenWanted(s_name);
    return wanted != CKR_OK ? wanted : (s_real->*Member)(arguments...);
  }

  static void Install(const char* name) {
    s_name = name;
    s_list.*Member = Call;
  }
};

CK_FUNCTION_LIST* RealList() {
  CK_FUNCTION_LIST* list = nullptr;
  void* const library = dlopen(SOFTHSM2, RTLD_NOW | RTLD_LOCAL);
  const auto get = library ? reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList")) : nullptr;
  return get != nullptr && get(&list) == CKR_OK ? list : nullptr;
}

}  // namespace

extern "C" CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  s_real = RealList();
  if (s_real == nullptr) return CKR_GENERAL_ERROR;
  s_list = *s_real;
  Watched<&CK_FUNCTION_LIST::C_Initialize>::Install("C_Initialize");
  Watched<&CK_FUNCTION_LIST::C_GetInfo>::Install("C_GetInfo");
  Watched<&CK_FUNCTION_LIST::C_GetSlotList>::Install("C_GetSlotList");
  Watched<&CK_FUNCTION_LIST::C_OpenSession>::Install("C_OpenSession");
  Watched<&CK_FUNCTION_LIST::C_FindObjects>::Install("C_FindObjects");
  Watched<&CK_FUNCTION_LIST::C_GetAttributeValue>::Install("C_GetAttributeValue");
  Watched<&CK_FUNCTION_LIST::C_GetSessionInfo>::Install("C_GetSessionInfo");
  Watched<&CK_FUNCTION_LIST::C_Login>::Install("C_Login");
  Watched<&CK_FUNCTION_LIST::C_SignInit>::Install("C_SignInit");
  Watched<&CK_FUNCTION_LIST::C_Sign>::Install("C_Sign");
  Watched<&CK_FUNCTION_LIST::C_DecryptInit>::Install("C_DecryptInit");
  Watched<&CK_FUNCTION_LIST::C_Decrypt>::Install("C_Decrypt");
  Watched<&CK_FUNCTION_LIST::C_DeriveKey>::Install("C_DeriveKey");
  *list = &s_list;
  return CKR_OK;
}
