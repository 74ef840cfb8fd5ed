#include "softcard/Beneath.h"

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>

#include "softcard/Softoken.h"

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

void SetEnvironment(const char* name, const std::optional<std::string>& value) {
  if (value)
    setenv(name, value->c_str(), 1);
  else
    unsetenv(name);
}

}  // namespace

void* OpenLibrary(const std::string& path) {
  // It stays in memory: what softoken needs keeps its state until the process ends, and would lose it.
  if (void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) return library;
  const std::string problem = dlerror();
  throw std::runtime_error(problem + (path == kSoftoken ? "; install the package libnss3" : ""));
}

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

std::string PrepareTokenStore(const std::filesystem::path& directory) {
  const auto tokens = std::filesystem::absolute(directory / "tokens");
  const auto configuration = std::filesystem::absolute(directory / "softhsm2.conf");
  MakePrivateDirectory(tokens);
  const auto text = "directories.tokendir = " + tokens.string() + "\nobjectstore.backend = file\nlog.level = ERROR\n";
  WritePrivateFile(configuration, text);
  return configuration.string();
}

std::string ParametersBeneath(const std::filesystem::path& directory, const State& state) {
  const bool ours = state.library == kSoftoken && state.parameters.empty();
  return ours ? SoftokenParameters(directory, state.cards) : state.parameters;
}

CK_RV InitializeWithParameters(CK_FUNCTION_LIST* library, const std::string& parameters, void* arguments) {
  if (parameters.empty()) return library->C_Initialize(arguments);
  // NSS softoken reads one more pointer after pReserved when that is given, and insists on null there.
  struct {
    CK_C_INITIALIZE_ARGS standard;
    void* after;
  } extended{};
  if (arguments) extended.standard = *static_cast<CK_C_INITIALIZE_ARGS*>(arguments);
  auto handedOver = parameters;
  extended.standard.pReserved = handedOver.data();
  return library->C_Initialize(&extended);
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

ScopedEnvironment::ScopedEnvironment(const char* name, const std::optional<std::string>& value) : m_name(name) {
  if (const char* before = std::getenv(name)) m_before = before;
  SetEnvironment(name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
  SetEnvironment(m_name, m_before);
}

}  // namespace SoftCard
