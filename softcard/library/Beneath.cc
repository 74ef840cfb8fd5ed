#include "softcard/library/Beneath.h"

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>

#include "softcard/state/Softoken.h"

namespace SoftCard {

namespace {

CK_FUNCTION_LIST* g_beneath = nullptr;
std::string g_loadedFrom;
bool g_endedAtExit = false;

/// Libraries destroy their state while the process exits, and SoftHSM2 then crashes when it is finalized, as callers do
/// from destructors of their own. So it is finalized before that, once the exit has begun.
void FinalizeBeforeOthersAtExit() {
  [[maybe_unused]] static const int registered = std::atexit([] {
    g_beneath->C_Finalize(nullptr);
    g_endedAtExit = true;
  });
}

std::string DefaultLibrary() {
  for (const char* path : {"/usr/lib/softhsm/libsofthsm2.so", QEL_SOFTCARD_MULTIARCH_SOFTHSM})
    if (std::filesystem::exists(path)) return path;
  throw std::runtime_error("/usr/lib/softhsm/libsofthsm2.so: no SoftHSM2 here; install the package softhsm2");
}

}  // namespace

void LoadBeneath(const State& state) {
  const auto path = state.library.empty() ? DefaultLibrary() : state.library;
  if (g_beneath && path == g_loadedFrom) return;
  void* const library = OpenLibrary(path);
  const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
  CK_FUNCTION_LIST* list = nullptr;
  if (!getFunctionList || getFunctionList(&list) != CKR_OK || !list)
    throw std::runtime_error(path + ": gives no PKCS#11 function list");
  g_beneath = list;
  g_loadedFrom = path;
}

CK_FUNCTION_LIST* Beneath() {
  return g_beneath;
}

std::string ParametersBeneath(const std::filesystem::path& directory, const State& state) {
  const bool ours = state.library == kSoftoken && state.parameters.empty();
  return ours ? SoftokenParameters(directory, state.cards) : state.parameters;
}

CK_RV InitializeBeneath(const std::string& parameters, void* arguments) {
  const auto result = InitializeWithParameters(g_beneath, parameters, arguments);
  // After the library's own registrations, so that its handlers run later than ours.
  if (result == CKR_OK) FinalizeBeforeOthersAtExit();
  return result;
}

CK_RV FinalizeBeneath(void* reserved) {
  return g_endedAtExit ? CKR_OK : g_beneath->C_Finalize(reserved);
}

}  // namespace SoftCard
