#include "host/module/Serve.h"

#define P11_KIT_FUTURE_UNSTABLE_API  // what the function that serves a module is declared under
#include <p11-kit/remote.h>

#include "host/module/Module.h"
#include "host/terminal/Terminal.h"

namespace Host {
namespace {

/// PKCS#11's functions have no context: the one module of this process.
Module* g_module = nullptr;

/// Tells the user; once, however often an application tries the same again.
void TellOnce(const std::string& message) {
  static std::string last;
  if (message != last) TellUser(message);
  last = message;
}

CK_RV ResultOf(const Failure& failure) {
  switch (failure.Status()) {
    case ExitStatus::NoToken:
      return CKR_DEVICE_REMOVED;
    case ExitStatus::NotSupported:
      return CKR_KEY_FUNCTION_NOT_PERMITTED;
    case ExitStatus::PinRefused:
      return CKR_PIN_INCORRECT;
    case ExitStatus::Cancelled:
      return CKR_FUNCTION_CANCELED;
    default:
      return CKR_FUNCTION_FAILED;
  }
}

/// The C function that calls a function of the module.
template <auto Method>
struct Calling;

template <class... Arguments, CK_RV (Module::*Method)(Arguments...)>
struct Calling<Method> {
  static CK_RV Function(Arguments... arguments) noexcept {
    try {
      return (g_module->*Method)(arguments...);
    } catch (const Failure& failure) {
      TellOnce(failure.what());
      return ResultOf(failure);
    } catch (const std::exception& problem) {
      TellOnce(std::string("unexpected: ") + problem.what());
      return CKR_GENERAL_ERROR;
    }
  }
};

template <auto Method>
constexpr auto Call = &Calling<Method>::Function;

template <class... Arguments>
using FunctionOf = CK_RV (*)(Arguments...);

/// Stands for a function of any type that gives one answer.
template <CK_RV Result>
struct Always {
  template <class... Arguments>
  operator FunctionOf<Arguments...>() const {
    return [](Arguments...) -> CK_RV { return Result; };
  }
};

constexpr Always<CKR_FUNCTION_NOT_SUPPORTED> kUnsupported;
constexpr Always<CKR_OK> kDone;

CK_FUNCTION_LIST FunctionList() {
  CK_FUNCTION_LIST list = {};
  list.version = {CRYPTOKI_VERSION_MAJOR, CRYPTOKI_VERSION_MINOR};
  list.C_Initialize = kDone;
  list.C_Finalize = kDone;
  list.C_GetFunctionList = kUnsupported;
  list.C_GetInfo = Call<&Module::GetInfo>;
  list.C_GetSlotList = Call<&Module::GetSlotList>;
  list.C_GetSlotInfo = Call<&Module::GetSlotInfo>;
  list.C_GetTokenInfo = Call<&Module::GetTokenInfo>;
  list.C_GetMechanismList = Call<&Module::GetMechanismList>;
  list.C_GetMechanismInfo = Call<&Module::GetMechanismInfo>;
  list.C_OpenSession = Call<&Module::OpenSession>;
  list.C_CloseSession = Call<&Module::CloseSession>;
  list.C_CloseAllSessions = Call<&Module::CloseAllSessions>;
  list.C_GetSessionInfo = Call<&Module::GetSessionInfo>;
  list.C_Login = Call<&Module::Login>;
  list.C_Logout = Call<&Module::Logout>;
  list.C_FindObjectsInit = Call<&Module::FindObjectsInit>;
  list.C_FindObjects = Call<&Module::FindObjects>;
  list.C_FindObjectsFinal = Call<&Module::FindObjectsFinal>;
  list.C_GetAttributeValue = Call<&Module::GetAttributeValue>;
  list.C_SignInit = Call<&Module::SignInit>;
  list.C_Sign = Call<&Module::Sign>;
  list.C_DecryptInit = Call<&Module::DecryptInit>;
  list.C_Decrypt = Call<&Module::Decrypt>;

  list.C_InitToken = kUnsupported;
  list.C_InitPIN = kUnsupported;
  list.C_SetPIN = kUnsupported;
  list.C_GetOperationState = kUnsupported;
  list.C_SetOperationState = kUnsupported;
  list.C_CreateObject = kUnsupported;
  list.C_CopyObject = kUnsupported;
  list.C_DestroyObject = kUnsupported;
  list.C_GetObjectSize = kUnsupported;
  list.C_SetAttributeValue = kUnsupported;
  list.C_EncryptInit = kUnsupported;
  list.C_Encrypt = kUnsupported;
  list.C_EncryptUpdate = kUnsupported;
  list.C_EncryptFinal = kUnsupported;
  list.C_DecryptUpdate = kUnsupported;
  list.C_DecryptFinal = kUnsupported;
  list.C_DigestInit = kUnsupported;
  list.C_Digest = kUnsupported;
  list.C_DigestUpdate = kUnsupported;
  list.C_DigestKey = kUnsupported;
  list.C_DigestFinal = kUnsupported;
  list.C_SignUpdate = kUnsupported;
  list.C_SignFinal = kUnsupported;
  list.C_SignRecoverInit = kUnsupported;
  list.C_SignRecover = kUnsupported;
  list.C_VerifyInit = kUnsupported;
  list.C_Verify = kUnsupported;
  list.C_VerifyUpdate = kUnsupported;
  list.C_VerifyFinal = kUnsupported;
  list.C_VerifyRecoverInit = kUnsupported;
  list.C_VerifyRecover = kUnsupported;
  list.C_DigestEncryptUpdate = kUnsupported;
  list.C_DecryptDigestUpdate = kUnsupported;
  list.C_SignEncryptUpdate = kUnsupported;
  list.C_DecryptVerifyUpdate = kUnsupported;
  list.C_GenerateKey = kUnsupported;
  list.C_GenerateKeyPair = kUnsupported;
  list.C_WrapKey = kUnsupported;
  list.C_UnwrapKey = kUnsupported;
  list.C_DeriveKey = kUnsupported;
  list.C_SeedRandom = kUnsupported;
  list.C_GenerateRandom = kUnsupported;
  list.C_GetFunctionStatus = kUnsupported;
  list.C_CancelFunction = kUnsupported;
  list.C_WaitForSlotEvent = kUnsupported;
  return list;
}

}  // namespace

void ServeModule(const Options& options, int input, int output) {
  Module module(options);
  g_module = &module;
  CK_FUNCTION_LIST list = FunctionList();
  const int result = p11_kit_remote_serve_module(&list, input, output);
  g_module = nullptr;
  if (result != 0) throw Failure(ExitStatus::Failed, "p11-kit's protocol failed; did the application end early?");
}

}  // namespace Host
